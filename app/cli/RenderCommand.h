// `lanternfly render`: a recorded presenter and a PDF page in, the composed video out.
// Threads: bound.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "app/Framing.h"

namespace CLI {
class App;
}

namespace lanternfly {

struct RenderOptions {
    std::filesystem::path camera;
    std::filesystem::path deck;
    std::filesystem::path out;
    std::optional<std::filesystem::path> events;
    std::optional<std::filesystem::path> trace;
    int page = 1;
    int width = 1920, height = 1080;
    bool isMirrored = false;
    FramingMode framing = FramingMode::crop;
    std::string device = "cpu"; // as chooseDevice() takes it
    bool dropsInRealTime = false;
};

// Declares the command's options; they are stored in `options`, which outlives the app.
void declareRender(CLI::App& command, RenderOptions& options);

// Returns the exit code. Throws an exception derived from std::runtime_error whose text is for the
// user.
int runRender(const RenderOptions& options);

} // namespace lanternfly
