// A connection to PipeWire and the thread on which it lives. When PipeWire ends, the connection is
// made again as soon as it is back.
// Threads: bound to its own thread, where all events come; start() and stop() are called on others.
#pragma once

#include <functional>
#include <memory>

struct pw_core;
struct pw_loop;

namespace lanternfly::pipewire {

class Connection {
public:
    struct Events {
        std::function<void(pw_core& core)> connected;
        // What was made of the core goes now, before the core does.
        std::function<void()> disconnected;
        // PipeWire does not answer: told once, until it does.
        std::function<void()> unreachable;
    };

    // `threadName` has at most 15 characters.
    Connection(const char* threadName, Events events);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Before it returns, the first attempt is made and told of.
    void start();
    // Also tells of the end of the connection that there is. There is no start after it.
    void stop();

    // Lives as long as the connection. A signal to one of its sources never waits.
    pw_loop* loop() const;
    // Runs `task` with the connection's thread at rest.
    void withLock(const std::function<void()>& task) const;

private:
    struct State;
    const std::unique_ptr<State> _state;
};

} // namespace lanternfly::pipewire
