// `lanternfly render`: a recorded presenter, or only recorded hands, and a PDF page in, the
// composed video out. Threads: bound.
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
    std::filesystem::path camera; // empty: the hands of `poses` are drawn instead
    std::filesystem::path deck;
    std::filesystem::path out;
    std::optional<std::filesystem::path> events;
    std::optional<std::filesystem::path> trace;
    std::optional<std::filesystem::path> poses;
    std::optional<std::filesystem::path> recordedPoses;
    std::optional<std::filesystem::path> script;
    std::optional<std::filesystem::path> bindings;
    int page = 1;
    int width = 1920, height = 1080;
    bool isMirrored = false;
    bool looksForFaces = false;
    std::optional<std::filesystem::path> handModel;
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
