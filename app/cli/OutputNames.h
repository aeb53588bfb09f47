// Guards against a command that would write over what it reads.
// Threads: safe.
#pragma once

#include <filesystem>
#include <vector>

namespace lanternfly {

struct NamedFile {
    const char* option;         // as the user wrote it: "--out"
    std::filesystem::path path; // empty: not given
};

// Throws CommandError when an output is the same file as an input or as another output, by
// whatever name or link.
void refuseOverwriting(const std::vector<NamedFile>& inputs, const std::vector<NamedFile>& outputs);

} // namespace lanternfly
