#include "platform/linux/pdf/PdfWorkerProcess.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <fmt/format.h>

#include "base/Logger.h"

namespace lanternfly {

namespace {

const Logger logger("PdfWorkerClient");

constexpr const char* workerName = "lanternfly-pdf-worker";

class FileActions {
public:
    FileActions() { posix_spawn_file_actions_init(&_actions); }
    ~FileActions() { posix_spawn_file_actions_destroy(&_actions); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;

    posix_spawn_file_actions_t* get() { return &_actions; }

private:
    posix_spawn_file_actions_t _actions;
};

// A helper that inherits blocked or ignored signals could not be ended by its own limits.
class SpawnAttributes {
public:
    SpawnAttributes() {
        posix_spawnattr_init(&_attributes);
        sigset_t none, all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&_attributes, &none);
        posix_spawnattr_setsigdefault(&_attributes, &all);
        posix_spawnattr_setflags(&_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnAttributes() { posix_spawnattr_destroy(&_attributes); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;

    const posix_spawnattr_t* get() const { return &_attributes; }

private:
    posix_spawnattr_t _attributes;
};

} // namespace

std::unique_ptr<PdfWorkerProcess> PdfWorkerProcess::start(const std::filesystem::path& executable) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        logger.error("No socket for the PDF helper: {}", std::strerror(errno));
        return nullptr;
    }
    UniqueFd ours(ends[0]);
    // Duplicating a descriptor onto itself would leave it to be closed on exec: keep clear of it.
    UniqueFd theirs(fcntl(ends[1], F_DUPFD_CLOEXEC, pdfwire::channelDescriptor + 1));
    ::close(ends[1]);

    FileActions actions;
    posix_spawn_file_actions_addopen(actions.get(), 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(actions.get(), 1, "/dev/null", O_WRONLY, 0);
#if !defined(__SANITIZE_ADDRESS__) // its reports are worth reading
    posix_spawn_file_actions_addopen(actions.get(), 2, "/dev/null", O_WRONLY, 0);
#endif
    posix_spawn_file_actions_adddup2(actions.get(), theirs.get(), pdfwire::channelDescriptor);
    posix_spawn_file_actions_addclosefrom_np(actions.get(), pdfwire::channelDescriptor + 1);

    std::string name = workerName;
    char* const arguments[] = {name.data(), nullptr};
    char* const environment[] = {nullptr};
    const SpawnAttributes attributes;
    pid_t pid = -1;
    const int failure = posix_spawn(&pid, executable.c_str(), actions.get(), attributes.get(),
                                    arguments, environment);
    if (failure != 0) {
        logger.error("Cannot start the PDF helper {}: {}", executable.string(),
                     std::strerror(failure));
        return nullptr;
    }
    return std::unique_ptr<PdfWorkerProcess>(new PdfWorkerProcess(pid, std::move(ours)));
}

PdfWorkerProcess::~PdfWorkerProcess() {
    end();
}

bool PdfWorkerProcess::send(const pdfwire::Message& message, int descriptor) {
    iovec part{const_cast<uint8_t*>(message.bytes.data()), message.size};
    msghdr header{};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    if (descriptor >= 0) {
        header.msg_control = control;
        header.msg_controllen = sizeof control;
        cmsghdr* rights = CMSG_FIRSTHDR(&header);
        rights->cmsg_level = SOL_SOCKET;
        rights->cmsg_type = SCM_RIGHTS;
        rights->cmsg_len = CMSG_LEN(sizeof descriptor);
        std::memcpy(CMSG_DATA(rights), &descriptor, sizeof descriptor);
    }
    return sendmsg(_channel.get(), &header, MSG_NOSIGNAL | MSG_DONTWAIT) ==
           static_cast<ssize_t>(message.size);
}

PdfWorkerProcess::Received PdfWorkerProcess::receive(pdfwire::Message& message, Deadline deadline) {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd waiting{_channel.get(), POLLIN, 0};
        const int ready = poll(&waiting, 1, static_cast<int>(std::max<int64_t>(left.count(), 0)));
        if (ready == 0) return Received::timeout;
        if (ready < 0 && errno == EINTR) continue;
        // Descriptors that the helper might send along are refused by giving them no room.
        const ssize_t size = recv(_channel.get(), message.bytes.data(), message.bytes.size(),
                                  MSG_DONTWAIT | MSG_TRUNC);
        if (size > 0) {
            message.size =
                static_cast<size_t>(size) <= message.bytes.size() ? static_cast<size_t>(size) : 0;
            return Received::message;
        }
        if (size < 0 && (errno == EINTR || errno == EAGAIN)) continue;
        return Received::closed;
    }
}

bool PdfWorkerProcess::hasEnded() {
    if (!_isCollected) {
        const pid_t collected = waitpid(_pid, &_status, WNOHANG);
        _isCollected = collected == _pid || (collected < 0 && errno == ECHILD);
    }
    return _isCollected;
}

std::string PdfWorkerProcess::end() {
    if (!hasEnded()) {
        kill(_pid, SIGKILL);
        while (waitpid(_pid, &_status, 0) < 0 && errno == EINTR) {
        }
        _isCollected = true;
    }
    if (WIFSIGNALED(_status))
        return fmt::format("killed by signal {} ({})", WTERMSIG(_status),
                           strsignal(WTERMSIG(_status)));
    return fmt::format("exited with status {}", WEXITSTATUS(_status));
}

std::filesystem::path findPdfWorker() {
    namespace fs = std::filesystem;
    if (const char* given = std::getenv("LANTERNFLY_PDF_WORKER")) return given;

    std::error_code error;
    const fs::path here = fs::read_symlink("/proc/self/exe", error).parent_path();
    std::vector<fs::path> candidates{here / workerName,
                                     here.parent_path() / "libexec" / "lanternfly" / workerName};
#ifdef LANTERNFLY_LIBEXEC_DIR
    candidates.push_back(fs::path(LANTERNFLY_LIBEXEC_DIR) / workerName);
#endif
    constexpr int buildTreeDepth = 5;
    fs::path folder = here;
    for (int i = 0; i < buildTreeDepth; ++i) {
        candidates.push_back(folder / "helpers" / "pdf-worker" / workerName);
        folder = folder.parent_path();
    }
    for (const auto& candidate : candidates)
        if (access(candidate.c_str(), X_OK) == 0) return candidate;
    return {};
}

} // namespace lanternfly
