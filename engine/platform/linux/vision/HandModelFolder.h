// Where the hand networks are installed.
// Threads: safe.
#pragma once

#include <filesystem>

namespace lanternfly {

// The installed folder when it holds a model's description, else the source tree's: so that a
// program works before it is installed.
std::filesystem::path defaultHandModelFolder();

} // namespace lanternfly
