// `lanternfly send`: tells a running show a command.
// Threads: bound.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace lanternfly {

struct SendOptions {
    std::vector<std::string> words; // the command, as it was written
    bool lists = false;
};

// Declares the command's options; they are stored in `options`, which outlives the app.
void declareSend(CLI::App& command, SendOptions& options);

// Returns the exit code. Throws CommandError when nothing is being presented.
int runSend(const SendOptions& options);

} // namespace lanternfly
