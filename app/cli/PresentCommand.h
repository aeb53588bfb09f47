// `lanternfly present`: a live camera and a deck in, the composed picture out to a window, a
// virtual camera, a file. Threads: bound.
#pragma once

#include <string>
#include <vector>

#include "app/ShowOptions.h"
#include "app/live/ShowWindow.h"

namespace CLI {
class App;
}

namespace lanternfly {

struct PresentOptions {
    ShowOptions show;
    std::string camera; // as cameraSource() takes it
    std::vector<std::string> outputs;
    bool hasNoSound = false;
    bool hasNoWindow = false;
    WindowLook look = WindowLook::system;
    bool hasNoControl = false;
    bool savesSettings = false;
};

// Declares the command's options; they are stored in `options`, which outlives the app.
void declarePresent(CLI::App& command, PresentOptions& options);

// Returns the exit code. Throws an exception derived from std::runtime_error whose text is for the
// user.
int runPresent(const PresentOptions& options, const MakeShowWindow& makeWindow);

} // namespace lanternfly
