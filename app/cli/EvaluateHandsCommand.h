// `lanternfly evaluate-hands`: how well hands and faces are found in labelled photos and clips.
// Threads: bound.
#pragma once

#include <filesystem>
#include <optional>

namespace CLI {
class App;
}

namespace lanternfly {

struct EvaluateHandsOptions {
    std::filesystem::path folder;
    std::optional<std::filesystem::path> handModel;
    std::optional<std::filesystem::path> peer;
    std::optional<std::filesystem::path> sheet;
    bool isJson = false;
};

void declareEvaluateHands(CLI::App& command, EvaluateHandsOptions& options);

// Returns the exit code. Throws as runRender().
int runEvaluateHands(const EvaluateHandsOptions& options);

} // namespace lanternfly
