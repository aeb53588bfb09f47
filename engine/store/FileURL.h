// Files as URLs and back.
// Threads: safe.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace lanternfly {

// "file:///decks/A%20deck.pdf". Absent when the path is not absolute.
std::optional<std::string> fileURL(const std::filesystem::path& path);
// The path of a file URL of this machine, with "." and ".." resolved; absent for any other text.
std::optional<std::filesystem::path> filePath(std::string_view url);

} // namespace lanternfly
