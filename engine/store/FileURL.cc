#include "store/FileURL.h"

#include <memory>

#include <glib.h>

namespace lanternfly {

namespace {

struct Free {
    void operator()(char* text) const { g_free(text); }
};
using Text = std::unique_ptr<char, Free>;

} // namespace

std::optional<std::string> fileURL(const std::filesystem::path& path) {
    if (!path.is_absolute()) return std::nullopt;
    const Text url(g_filename_to_uri(path.c_str(), nullptr, nullptr));
    if (!url) return std::nullopt;
    return url.get();
}

std::optional<std::filesystem::path> filePath(std::string_view url) {
    if (url.find('\0') != std::string_view::npos) return std::nullopt;
    char* host = nullptr;
    const Text path(g_filename_from_uri(std::string(url).c_str(), &host, nullptr));
    const Text hostName(host);
    if (!path || (hostName && std::string_view(hostName.get()) != "localhost")) return std::nullopt;
    auto normal = std::filesystem::path(path.get()).lexically_normal();
    if (!normal.has_filename() && normal.has_relative_path()) normal = normal.parent_path();
    return normal;
}

} // namespace lanternfly
