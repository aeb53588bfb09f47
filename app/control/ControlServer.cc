#include "app/control/ControlServer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "app/CommandError.h"
#include "app/control/LineBuffer.h"

namespace lanternfly {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void refuse(const fs::path& what, int error) {
    throw CommandError(fmt::format("cannot listen at {}: {}; choose another XDG_RUNTIME_DIR, or "
                                   "use --no-control",
                                   what.string(), std::strerror(error)));
}

// A folder that others may write to could be made to listen elsewhere.
void ensureOwnFolder(const fs::path& folder) {
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) refuse(folder, errno);
    struct stat status {};
    if (lstat(folder.c_str(), &status) != 0) refuse(folder, errno);
    if (!S_ISDIR(status.st_mode)) refuse(folder, ENOTDIR);
    if (status.st_uid != geteuid()) refuse(folder, EPERM);
    if ((status.st_mode & 077) != 0 && chmod(folder.c_str(), 0700) != 0) refuse(folder, errno);
}

UniqueFd locked(const fs::path& socket) {
    const fs::path file = fs::path(socket).replace_extension(".lock");
    UniqueFd lock(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!lock) refuse(file, errno);
    if (flock(lock.get(), LOCK_EX | LOCK_NB) == 0) return lock;
    throw CommandError("something is being presented already; end it first with lanternfly send "
                       "quit, or show this deck there with lanternfly send open FILE.pdf");
}

bool isOwnUser(const UniqueFd& connection) {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(connection.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return false;
    return peer.uid == geteuid() || peer.uid == 0;
}

} // namespace

struct ControlServer::Client {
    UniqueFd connection;
    LineBuffer lines;
    bool isAnswering = false;
    bool hasEnded = false; // sends no more
    EventLoop::Registration receiving{};
};

ControlServer::ControlServer(EventLoop& loop, const fs::path& socket, Handler handler)
    : _loop(loop), _socket(socket), _handler(std::move(handler)) {
    ensureOwnFolder(_socket.parent_path());
    _lock = locked(_socket);
    listen();
    _accepting = _loop.watch(_listening.get(), [this] { accept(); });
}

ControlServer::~ControlServer() {
    while (!_clients.empty())
        drop(_clients.front());
    _accepting.reset();
    unlink(_socket.c_str());
}

void ControlServer::listen() {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string& path = _socket.native();
    if (path.size() >= sizeof address.sun_path) refuse(_socket, ENAMETOOLONG);
    std::copy(path.begin(), path.end(), address.sun_path);
    _listening.reset(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!_listening) refuse(_socket, errno);
    // Whoever holds the lock may take away what a server that died has left.
    unlink(_socket.c_str());
    fchmod(_listening.get(), 0600);
    if (bind(_listening.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        chmod(_socket.c_str(), 0600) != 0 || ::listen(_listening.get(), maxClients) != 0)
        refuse(_socket, errno);
}

void ControlServer::accept() {
    UniqueFd connection(accept4(_listening.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!connection || !isOwnUser(connection)) return;
    auto client = std::make_shared<Client>(Client{std::move(connection), {}});
    if (_clients.size() >= maxClients)
        return reply(client, ControlReply::error("too many programs are connected; try again"));
    _clients.push_back(client);
    listenTo(client);
}

void ControlServer::listenTo(const ClientRef& client) {
    client->receiving = _loop.watch(client->connection.get(), [this, weak = std::weak_ptr(client)] {
        if (const auto self = weak.lock()) receive(self);
    });
}

void ControlServer::receive(const ClientRef& client) {
    char piece[4096];
    const ssize_t size = recv(client->connection.get(), piece, sizeof piece, 0);
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (size < 0) return drop(client);
    if (size == 0) client->hasEnded = true;
    client->lines.add({piece, static_cast<size_t>(size)});
    answerLines(client);
}

void ControlServer::answerLines(const ClientRef& client) {
    while (client->connection && !client->isAnswering) {
        const auto line = client->lines.next();
        if (!line) break;
        if (line->empty()) continue;
        client->isAnswering = true;
        _handler(*line, [this, weak = std::weak_ptr(client)](const ControlReply& text) {
            const auto self = weak.lock();
            if (!self || !self->connection || !self->isAnswering) return;
            self->isAnswering = false;
            reply(self, text);
            // Nobody listens to one that was made to wait.
            if (!self->receiving && self->connection) {
                listenTo(self);
                answerLines(self);
            }
        });
    }
    if (!client->connection) return;
    if (client->isAnswering) {
        client->receiving.reset();
    } else if (client->lines.isOverfull()) {
        reply(client, ControlReply::error(
                          fmt::format("a line has at most {} bytes", LineBuffer::maxLineBytes)));
        drop(client);
    } else if (client->hasEnded) {
        drop(client);
    }
}

// Replies are short: a client that does not take them is not worth waiting for.
void ControlServer::reply(const ClientRef& client, const ControlReply& text) {
    const std::string line = lineOf(text);
    const ssize_t sent = send(client->connection.get(), line.data(), line.size(), MSG_NOSIGNAL);
    if (sent != static_cast<ssize_t>(line.size())) drop(client);
}

void ControlServer::drop(const ClientRef& client) {
    const ClientRef kept = client; // the list may hold the last reference
    kept->receiving.reset();
    kept->connection.reset();
    _clients.remove(kept);
}

} // namespace lanternfly
