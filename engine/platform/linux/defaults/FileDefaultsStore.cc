#include "platform/linux/defaults/FileDefaultsStore.h"

#include <fmt/format.h>

#include "base/FileBytes.h"
#include "base/Logger.h"

namespace lanternfly {

namespace {

const Logger& logger() {
    static const Logger instance("FileDefaultsStore");
    return instance;
}

bool isPlain(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
           c == '-' || c == '_';
}

// No key leaves the folder, and no two keys share a file.
std::string fileName(std::string_view key) {
    std::string name;
    for (const char c : key) {
        // A dot in front would hide the file, and names in front of which one stands are ours.
        if (isPlain(c) && !(c == '.' && name.empty()))
            name += c;
        else
            name += fmt::format("%{:02X}", static_cast<unsigned char>(c));
    }
    return name + ".json";
}

} // namespace

std::filesystem::path FileDefaultsStore::file(std::string_view key) const {
    return _folder / fileName(key);
}

std::optional<std::string> FileDefaultsStore::data(std::string_view key) const {
    std::string bytes;
    const auto error = readFile(file(key), maxBlobBytes, bytes);
    if (!error) return bytes;
    if (error != std::errc::no_such_file_or_directory)
        logger().warning("Cannot read {}: {}", file(key).string(), error.message());
    return std::nullopt;
}

bool FileDefaultsStore::set(std::string_view key, std::string_view bytes) {
    std::error_code error;
    if (bytes.size() > maxBlobBytes) {
        error = std::make_error_code(std::errc::file_too_large);
    } else {
        std::filesystem::create_directories(_folder, error);
        if (!error) error = writeFileAtomically(file(key), bytes);
    }
    if (error) logger().error("Cannot write {}: {}", file(key).string(), error.message());
    return !error;
}

void FileDefaultsStore::remove(std::string_view key) {
    std::error_code error;
    std::filesystem::remove(file(key), error);
    if (error) logger().error("Cannot remove {}: {}", file(key).string(), error.message());
}

} // namespace lanternfly
