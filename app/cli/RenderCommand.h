// `lanternfly render`: a recorded presenter, or only recorded hands, and a PDF page in, the
// composed video out. Threads: bound.
#pragma once

#include "app/ShowOptions.h"

namespace CLI {
class App;
}

namespace lanternfly {

struct RenderOptions {
    ShowOptions show;
    std::filesystem::path camera; // empty: the hands of `poses` are drawn instead
    std::filesystem::path out;
    ShowOptions::File poses;
    bool dropsInRealTime = false;
};

// Declares the command's options; they are stored in `options`, which outlives the app.
void declareRender(CLI::App& command, RenderOptions& options);

// Returns the exit code. Throws an exception derived from std::runtime_error whose text is for the
// user.
int runRender(const RenderOptions& options);

} // namespace lanternfly
