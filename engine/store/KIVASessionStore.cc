#include "store/KIVASessionStore.h"

#include <algorithm>
#include <system_error>

#include <fmt/format.h>

#include "base/FileBytes.h"
#include "base/UserFolders.h"
#include "base/Uuid.h"

namespace lanternfly {

namespace {

using Kind = StoreError::Kind;
using std::filesystem::path;

std::string description(Kind kind, const path& where, const std::string& why) {
    constexpr const char* subject = "KIVASessionStore: failed to ";
    switch (kind) {
    case Kind::directoryCreateFailed:
        return fmt::format("{}create directory at {}: {}", subject, where.string(), why);
    case Kind::writeFailed:
        return fmt::format("{}write manifest to {}: {}", subject, where.string(), why);
    case Kind::readFailed:
        return fmt::format("{}read manifest from {}: {}", subject, where.string(), why);
    case Kind::encodeFailed:
        return fmt::format("{}encode manifest: {}", subject, why);
    case Kind::decodeFailed:
        return fmt::format("{}decode manifest from {}: {}", subject, where.string(), why);
    }
    return why;
}

bool isFileName(std::string_view text) {
    return !text.empty() && text != "." && text != ".." &&
           text.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

std::string errorText(std::errc error) {
    return std::make_error_code(error).message();
}

} // namespace

StoreError::StoreError(Kind which, std::filesystem::path where, std::string why)
    : kind(which), path(std::move(where)), underlying(std::move(why)),
      _text(description(kind, path, underlying)) {}

path KIVASessionStore::sessionsDirectory() {
    const auto data = userDataFolder();
    if (!data)
        throw StoreError(Kind::directoryCreateFailed, {},
                         errorText(std::errc::no_such_file_or_directory));
    const auto folder = *data / "Lanternfly" / "sessions";
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) throw StoreError(Kind::directoryCreateFailed, folder, error.message());
    return folder;
}

path KIVASessionStore::defaultURL(std::string_view forSessionID) {
    const auto folder = sessionsDirectory();
    const auto file = folder / (std::string(forSessionID) + '.' + fileExtension);
    if (!isFileName(forSessionID))
        throw StoreError(Kind::writeFailed, file, errorText(std::errc::invalid_argument));
    return file;
}

void KIVASessionStore::write(const Manifest& manifest, const path& to) {
    std::string bytes;
    try {
        bytes = encode(manifest);
    } catch (const ManifestError& error) {
        throw StoreError(Kind::encodeFailed, {}, error.what());
    }
    if (const auto error = writeFileAtomically(to, bytes))
        throw StoreError(Kind::writeFailed, to, error.message());
}

Manifest KIVASessionStore::read(const path& from) {
    std::string bytes;
    if (const auto error = readFile(from, maxManifestBytes, bytes))
        throw StoreError(Kind::readFailed, from, error.message());
    try {
        return decodeManifest(bytes);
    } catch (const ManifestError& error) {
        throw StoreError(Kind::decodeFailed, from, error.what());
    }
}

std::vector<std::string> KIVASessionStore::listSessionIDs() {
    const auto folder = sessionsDirectory();
    const auto extension = std::string(".") + fileExtension;
    std::vector<std::string> ids;
    std::error_code error;
    auto entry = std::filesystem::directory_iterator(folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const auto file = entry->path().filename();
        if (file.string().front() != '.' && file.extension() == extension)
            ids.push_back(file.stem().string());
    }
    if (error) throw StoreError(Kind::readFailed, folder, error.message());
    std::sort(ids.begin(), ids.end());
    return ids;
}

void KIVASessionStore::remove(std::string_view sessionID) {
    const auto file = defaultURL(sessionID);
    std::error_code error;
    std::filesystem::remove(file, error); // a missing file is not an error here either
    if (error) throw StoreError(Kind::writeFailed, file, error.message());
}

std::string newSessionID() {
    auto digits = Uuid::random().text();
    std::erase(digits, '-');
    return "lfy_session_" + digits;
}

} // namespace lanternfly
