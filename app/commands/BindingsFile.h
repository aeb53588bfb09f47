// The user's bindings on disk.
// Threads: safe.
#pragma once

#include <filesystem>
#include <optional>

#include "app/commands/Bindings.h"

namespace lanternfly {

// bindings.json beside the user's other settings. Absent when the user has no home.
std::optional<std::filesystem::path> userBindingsFile();

// Of the given file, else the user's own, else the built-in ones. Each problem names its file.
// Throws CommandError when the given file cannot be read.
ReadBindings loadBindings(const std::optional<std::filesystem::path>& given);

// The built-in bindings as a file to edit. Throws CommandError when there is a file already or it
// cannot be written.
void writeDefaultBindings(const std::filesystem::path& file);

} // namespace lanternfly
