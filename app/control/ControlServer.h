// Listens on the control socket and answers line by line, each client in its own order. Only
// programs of the same user get in, and none can make the show wait.
// Threads: bound to the thread of its loop.
#pragma once

#include <filesystem>
#include <functional>
#include <list>
#include <memory>
#include <string>

#include "app/EventLoop.h"
#include "app/control/ControlSocket.h"
#include "base/UniqueFd.h"

namespace lanternfly {

class ControlServer {
public:
    static constexpr size_t maxClients = 16;
    using Reply = std::function<void(const ControlReply&)>;
    // Replies at once or later, on the loop; the client's next line waits until then.
    using Handler = std::function<void(const std::string& line, Reply reply)>;

    // Takes the place of a server that died. Throws CommandError when one is alive, or the place
    // is not this user's own. The loop outlives the server.
    ControlServer(EventLoop& loop, const std::filesystem::path& socket, Handler handler);
    ~ControlServer();
    ControlServer(const ControlServer&) = delete;
    ControlServer& operator=(const ControlServer&) = delete;

private:
    struct Client;
    using ClientRef = std::shared_ptr<Client>;

    void listen();
    void accept();
    void receive(const ClientRef& client);
    void answerLines(const ClientRef& client);
    void reply(const ClientRef& client, const ControlReply& reply);
    void listenTo(const ClientRef& client);
    void drop(const ClientRef& client);

    EventLoop& _loop;
    const std::filesystem::path _socket;
    const Handler _handler;
    UniqueFd _lock; // held as long as the server lives
    UniqueFd _listening;
    std::list<ClientRef> _clients;
    EventLoop::Registration _accepting;
};

} // namespace lanternfly
