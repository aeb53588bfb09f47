// Where this user's own files belong, by the XDG base directory rules: the environment variable
// when it names an absolute path, else the folder in the user's home.
// Threads: safe as long as nobody changes the environment.
#pragma once

#include <filesystem>
#include <optional>

namespace lanternfly {

// $XDG_DATA_HOME, ~/.local/share. Absent when the user has no home.
std::optional<std::filesystem::path> userDataFolder();
// $XDG_CONFIG_HOME, ~/.config. Absent when the user has no home.
std::optional<std::filesystem::path> userConfigFolder();
// $XDG_CACHE_HOME, ~/.cache. Absent when the user has no home.
std::optional<std::filesystem::path> userCacheFolder();

} // namespace lanternfly
