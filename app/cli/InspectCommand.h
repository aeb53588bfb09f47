// `lanternfly inspect`: what the recognizers make of a pose track or of the hands in a video, as a
// page to look at.
// Threads: bound.
#pragma once

#include <filesystem>
#include <vector>

namespace CLI {
class App;
}

namespace lanternfly {

struct InspectOptions {
    std::vector<std::filesystem::path> inputs;
    std::filesystem::path out; // empty: only a table
    bool usesDefaultTuning = false;
};

void declareInspect(CLI::App& command, InspectOptions& options);

// Returns the exit code: 1 when a track states what must come of it and something else came.
// Throws as runRender().
int runInspect(const InspectOptions& options);

} // namespace lanternfly
