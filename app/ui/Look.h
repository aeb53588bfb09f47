// Light and dark windows.
// Threads: bound to the main thread.
#pragma once

#include "app/live/ShowWindow.h"

namespace lanternfly {

// For all windows of the program.
void applyLook(WindowLook look);

} // namespace lanternfly
