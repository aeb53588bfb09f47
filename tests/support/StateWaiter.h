// Waits for a sink to say of itself what a test waits for.
// Threads: safe; goes after the sink.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

#include "platform/FrameSink.h"

namespace lanternfly::test {

class StateWaiter {
public:
    explicit StateWaiter(FrameSink& sink) : _sink(sink) {
        sink.setStateCallback([this] {
            const std::lock_guard guard(_mutex);
            _changed.notify_all();
        });
    }
    // False when it does not come about after a long time.
    bool waitFor(FrameSinkStatus::State state) {
        std::unique_lock lock(_mutex);
        return _changed.wait_for(lock, std::chrono::seconds(60),
                                 [&] { return _sink.status().state == state; });
    }

private:
    FrameSink& _sink;
    std::mutex _mutex;
    std::condition_variable _changed;
};

} // namespace lanternfly::test
