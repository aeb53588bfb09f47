// Files that come with the program: networks, the drawn presenter.
// Threads: safe.
#pragma once

#include <filesystem>

namespace lanternfly {

// `name` is a path as the source tree has it ("models", "demo/presenter.mp4"). Where the program is
// installed, wherever that is, it lies in share/lanternfly beside the program's bin; a program that
// was only built finds it in the source tree.
std::filesystem::path programData(const std::filesystem::path& name);

} // namespace lanternfly
