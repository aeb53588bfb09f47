// Sends one picture to a sink over and over, as a camera would, while it lives.
// Threads: bound; frames are sent on a thread of its own.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "base/Clock.h"
#include "platform/FrameSink.h"

namespace lanternfly::test {

class FrameSender {
public:
    FrameSender(FrameSink& sink, PixelBufferRef picture)
        : _sink(sink), _picture(std::move(picture)), _thread([this] { run(); }) {}
    ~FrameSender() {
        {
            const std::lock_guard guard(_mutex);
            _isOver = true;
        }
        _ended.notify_all();
        _thread.join();
    }
    FrameSender(const FrameSender&) = delete;
    FrameSender& operator=(const FrameSender&) = delete;

private:
    void run() {
        std::unique_lock lock(_mutex);
        do {
            const auto now = static_cast<int64_t>(SystemClock::shared().uptimeNanos());
            _sink.send(_picture, MediaTime::fromNanos(now));
        } while (!_ended.wait_for(lock, std::chrono::milliseconds(10), [&] { return _isOver; }));
    }

    FrameSink& _sink;
    const PixelBufferRef _picture;
    std::mutex _mutex;
    std::condition_variable _ended;
    bool _isOver = false;
    std::thread _thread; // last: it uses the others
};

} // namespace lanternfly::test
