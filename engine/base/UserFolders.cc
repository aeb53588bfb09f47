#include "base/UserFolders.h"

#include <array>
#include <cstdlib>

#include <pwd.h>
#include <unistd.h>

namespace lanternfly {

namespace {

using std::filesystem::path;

std::optional<path> absolutePath(const char* text) {
    if (!text || text[0] != '/') return std::nullopt;
    return path(text);
}

std::optional<path> home() {
    if (auto folder = absolutePath(std::getenv("HOME"))) return folder;
    std::array<char, 16384> memory;
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, memory.data(), memory.size(), &found) != 0 || !found)
        return std::nullopt;
    return absolutePath(found->pw_dir);
}

std::optional<path> folder(const char* variable, const char* belowHome) {
    if (auto named = absolutePath(std::getenv(variable))) return named;
    if (const auto base = home()) return *base / belowHome;
    return std::nullopt;
}

} // namespace

std::optional<path> userDataFolder() {
    return folder("XDG_DATA_HOME", ".local/share");
}

std::optional<path> userConfigFolder() {
    return folder("XDG_CONFIG_HOME", ".config");
}

std::optional<path> userCacheFolder() {
    return folder("XDG_CACHE_HOME", ".cache");
}

} // namespace lanternfly
