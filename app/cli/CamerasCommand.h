// `lanternfly cameras`: which cameras there are, as a table or as JSON.
// Threads: bound.
#pragma once

namespace CLI {
class App;
}

namespace lanternfly {

struct CamerasOptions {
    bool isJson = false;
};

void declareCameras(CLI::App& command, CamerasOptions& options);

// Returns the exit code. Throws CommandError when this user may not open any of the cameras.
int runCameras(const CamerasOptions& options);

} // namespace lanternfly
