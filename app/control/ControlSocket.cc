#include "app/control/ControlSocket.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include "app/CommandError.h"
#include "app/control/LineBuffer.h"
#include "base/UniqueFd.h"

namespace lanternfly {
namespace {

namespace fs = std::filesystem;

constexpr timeval patience{20, 0}; // a deck may take its time to open

constexpr const char* nobodyPresents =
    "nothing is being presented; start it with lanternfly present FILE.pdf";

[[noreturn]] void refuse(const std::string& what) {
    throw CommandError(
        fmt::format("{}: {}; end the show and start it again", what, std::strerror(errno)));
}

UniqueFd connected(const fs::path& socket) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string& path = socket.native();
    if (path.size() >= sizeof address.sun_path)
        throw CommandError("the path in XDG_RUNTIME_DIR is too long for a socket");
    std::copy(path.begin(), path.end(), address.sun_path);
    UniqueFd connection(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    setsockopt(connection.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    setsockopt(connection.get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    if (connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return connection;
    if (errno == ENOENT || errno == ECONNREFUSED) throw CommandError(nobodyPresents);
    refuse("cannot reach the show");
}

void sendAll(const UniqueFd& connection, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = send(connection.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent <= 0) refuse("the show does not listen");
        bytes.remove_prefix(static_cast<size_t>(sent));
    }
}

// A status of many outputs is longer than a command may be.
std::string receivedLine(const UniqueFd& connection) {
    constexpr size_t maxReplyBytes = 1u << 20;
    std::string line;
    while (line.size() < maxReplyBytes) {
        char piece[4096];
        const ssize_t size = recv(connection.get(), piece, sizeof piece, 0);
        if (size < 0 && errno == EINTR) continue;
        if (size < 0) refuse("the show does not answer");
        if (size == 0) throw CommandError("the show ended before it answered");
        line.append(piece, static_cast<size_t>(size));
        if (const size_t end = line.find('\n'); end != line.npos) return line.substr(0, end);
    }
    throw CommandError("the show answers without an end");
}

} // namespace

std::optional<fs::path> controlSocket() {
    const char* folder = std::getenv("XDG_RUNTIME_DIR");
    if (!folder || *folder != '/') return std::nullopt;
    return fs::path(folder) / "lanternfly" / "control.sock";
}

std::string lineOf(const ControlReply& reply) {
    std::string line = reply.isOk ? "ok" : "error";
    if (!reply.text.empty()) line.append(" ").append(reply.text);
    std::replace(line.begin(), line.end(), '\n', ' ');
    return line + '\n';
}

std::optional<ControlReply> parseReply(std::string_view line) {
    const size_t space = std::min(line.find(' '), line.size());
    const std::string_view word = line.substr(0, space);
    if (word != "ok" && word != "error") return std::nullopt;
    return ControlReply{word == "ok", std::string(line.substr(std::min(space + 1, line.size())))};
}

ControlReply askShow(const fs::path& socket, std::string_view line) {
    if (line.size() > LineBuffer::maxLineBytes)
        throw CommandError(fmt::format("a command has at most {} bytes", LineBuffer::maxLineBytes));
    const UniqueFd connection = connected(socket);
    sendAll(connection, std::string(line) + '\n');
    const auto answer = receivedLine(connection);
    if (auto reply = parseReply(answer)) return *reply;
    throw CommandError(fmt::format("the show answers \"{}\"; both programs must be of the same "
                                   "version",
                                   answer));
}

} // namespace lanternfly
