// `lanternfly commands`: what the program can be told, and which signs and keys tell it.
// Threads: bound.
#pragma once

#include <filesystem>
#include <optional>

namespace CLI {
class App;
}

namespace lanternfly {

struct CommandsOptions {
    std::optional<std::filesystem::path> bindings;
    bool isJson = false;
    bool showsTuning = false;
    bool writesDefaults = false;
};

// Declares the command's options; they are stored in `options`, which outlives the app.
void declareCommands(CLI::App& command, CommandsOptions& options);

// Returns the exit code. Throws an exception derived from std::runtime_error whose text is for the
// user.
int runCommands(const CommandsOptions& options);

} // namespace lanternfly
