// The options that all commands share that show something.
// Threads: bound.
#pragma once

#include "app/ShowOptions.h"

namespace CLI {
class App;
}

namespace lanternfly {

// All but the deck; they are stored in `options`, which outlives the app.
void declareShow(CLI::App& command, ShowOptions& options);

} // namespace lanternfly
