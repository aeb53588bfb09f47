// The loop of a host's main thread: tasks that others post, descriptors that become readable, and
// timers. It runs on its own, or inside another loop that watches its descriptor.
// Threads: post() is safe; the rest is bound to the thread that runs it.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "base/Task.h"
#include "base/UniqueFd.h"

namespace lanternfly {

class EventLoop {
public:
    using Callback = std::function<void()>;
    // Ends what it stands for when it goes.
    using Registration = std::shared_ptr<void>;

    // Throws std::system_error when the system has no descriptors left.
    EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    void post(Task task);
    // `onReadable` may end its own registration. The descriptor stays open until that has ended.
    [[nodiscard]] Registration watch(int descriptor, Callback onReadable);
    [[nodiscard]] Registration every(std::chrono::nanoseconds interval, Callback onTime);
    [[nodiscard]] Registration after(std::chrono::nanoseconds delay, Callback onTime);

    // Until quit(), which holds also when it comes first.
    void run();
    void quit() { _isQuitting = true; }
    bool isQuitting() const { return _isQuitting; }
    // Readable when there is something to do, which dispatch() does without waiting.
    int descriptor() const { return _epoll.get(); }
    void dispatch() { wait(0); }

private:
    struct Watched {
        int descriptor;
        Callback onReadable;
    };
    void wait(int timeoutMs);
    void runPosted();
    Registration timer(std::chrono::nanoseconds first, std::chrono::nanoseconds interval,
                       Callback onTime);

    const UniqueFd _epoll;
    const UniqueFd _wake; // an eventfd: something was posted
    // By a number of its own: a descriptor's may be given to another file at once.
    std::shared_ptr<std::map<uint64_t, std::shared_ptr<Watched>>> _watched;
    uint64_t _lastKey = 0;
    bool _isQuitting = false;

    std::mutex _mutex;
    std::vector<Task> _posted;
    std::vector<Task> _running; // of the loop's thread
};

} // namespace lanternfly
