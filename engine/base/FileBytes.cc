#include "base/FileBytes.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/UniqueFd.h"

namespace lanternfly {

namespace {

std::error_code lastError() {
    return {errno, std::generic_category()};
}

bool writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        bytes.remove_prefix(static_cast<size_t>(count));
    }
    return true;
}

// Makes the rename itself durable. Some file systems cannot sync folders; the file is whole anyway.
void syncFolder(const std::filesystem::path& folder) {
    const UniqueFd opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened) ::fsync(opened.get());
}

} // namespace

std::error_code readFile(const std::filesystem::path& path, size_t maxBytes, std::string& bytes) {
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (!file) return lastError();
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) return lastError();
    if (S_ISDIR(status.st_mode)) return std::make_error_code(std::errc::is_a_directory);
    if (!S_ISREG(status.st_mode)) return std::make_error_code(std::errc::invalid_argument);

    // The size is a guess: the file may be growing. One byte more than allowed tells too large.
    const auto expected = static_cast<size_t>(std::max<off_t>(status.st_size, 0));
    bytes.resize(std::min(expected, maxBytes) + 1);
    size_t length = 0;
    while (true) {
        const ssize_t count = ::read(file.get(), bytes.data() + length, bytes.size() - length);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return lastError();
        if (count == 0) break;
        length += static_cast<size_t>(count);
        if (length > maxBytes) return std::make_error_code(std::errc::file_too_large);
        if (length == bytes.size()) bytes.resize(std::min(2 * length, maxBytes + 1));
    }
    bytes.resize(length);
    return {};
}

std::error_code writeFileAtomically(const std::filesystem::path& path, std::string_view bytes) {
    const auto folder = path.has_parent_path() ? path.parent_path() : std::filesystem::path(".");
    // Not made of the file's own name, which may be as long as names can be.
    auto temporary = (folder / ".lanternfly-XXXXXX").string();
    const UniqueFd file(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!file) return lastError();

    const bool isWritten = writeAll(file.get(), bytes) && ::fsync(file.get()) == 0 &&
                           ::rename(temporary.c_str(), path.c_str()) == 0;
    if (!isWritten) {
        const auto error = lastError();
        ::unlink(temporary.c_str());
        return error;
    }
    syncFolder(folder);
    return {};
}

} // namespace lanternfly
