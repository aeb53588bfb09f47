// Takes frames to a thread of its own, which may be slow: at most a few wait, and when one more
// comes the oldest is dropped.
// Threads: safe.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "base/MediaTime.h"
#include "base/PixelBuffer.h"

namespace lanternfly {

class FrameWorker {
public:
    using Handler = std::function<void(const PixelBufferRef& frame, MediaTime pts)>;

    // The handler is called on the thread, one frame at a time; it must not throw.
    FrameWorker(const std::string& threadName, size_t capacity, Handler handler);
    // Frames that wait are dropped; a handler that runs completes.
    ~FrameWorker();
    FrameWorker(const FrameWorker&) = delete;
    FrameWorker& operator=(const FrameWorker&) = delete;

    // False when a frame had to be dropped for this one, or the worker has finished. Allocates
    // nothing.
    bool put(PixelBufferRef frame, MediaTime pts);
    // Has the handler take what waits, and ends the thread.
    void finish();

private:
    struct Waiting {
        PixelBufferRef frame;
        MediaTime pts;
    };
    void run();
    void end(bool isAbandoning);

    const Handler _handler;
    std::mutex _mutex;
    std::condition_variable _changed;
    std::vector<Waiting> _ring;
    size_t _first = 0;
    size_t _count = 0;
    bool _isEnding = false;
    std::mutex _joining;
    std::thread _thread;
};

} // namespace lanternfly
