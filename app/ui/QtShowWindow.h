// The window of a live show, in Qt.
// Threads: bound to the main thread.
#pragma once

#include "app/live/ShowWindow.h"

namespace lanternfly {

// One at a time. Throws CommandError when there is no display.
std::unique_ptr<ShowWindow> makeQtShowWindow(WindowLook look);

} // namespace lanternfly
