#include "platform/linux/video/OutputFile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

namespace lanternfly {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void refuse(const fs::path& target, const char* why) {
    throw OutputFile::Error(
        fmt::format("cannot write {}: {}; choose another place", target.string(), why));
}

// Follows links, so that a link to a file stays a link.
fs::path resolved(const fs::path& target) {
    std::error_code failure;
    const fs::path end = fs::weakly_canonical(target, failure);
    return failure ? target : end;
}

} // namespace

OutputFile::OutputFile(const fs::path& target, WhenAbandoned whenAbandoned)
    : _target(resolved(target)), _whenAbandoned(whenAbandoned) {
    std::error_code failure;
    const auto status = fs::status(_target, failure);
    if (fs::is_directory(status)) refuse(target, "it is a folder");
    if (fs::exists(status) && !fs::is_regular_file(status)) refuse(target, "it is not a file");
    if (fs::exists(status) && access(_target.c_str(), W_OK) != 0)
        refuse(target, std::strerror(errno));

    if (_whenAbandoned == WhenAbandoned::keep && !fs::exists(status)) {
        const int created = open(_target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (created < 0) refuse(target, std::strerror(errno));
        close(created);
        _work = _target;
        return;
    }
    std::string work = (_target.parent_path() / _target.stem()).string() + ".partial-XXXXXX" +
                       _target.extension().string();
    const int created =
        mkostemps(work.data(), static_cast<int>(_target.extension().string().size()), O_CLOEXEC);
    if (created < 0) refuse(target, std::strerror(errno));
    // A temporary file is private; this one is to become an ordinary file.
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(created, 0666 & ~mask);
    close(created);
    _work = work;
}

OutputFile::~OutputFile() {
    if (!_committed && _whenAbandoned == WhenAbandoned::remove) unlink(_work.c_str());
}

void OutputFile::commit() {
    if (_work != _target && std::rename(_work.c_str(), _target.c_str()) != 0)
        refuse(_target, std::strerror(errno));
    _committed = true;
}

} // namespace lanternfly
