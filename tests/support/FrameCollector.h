// Keeps the frames that a camera delivers, and lets the test wait for them or hold them up.
// Threads: safe.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include <pthread.h>

#include "base/MediaTime.h"
#include "base/PixelBuffer.h"

namespace lanternfly::test {

class FrameCollector {
public:
    struct Frame {
        PixelBufferRef buffer;
        MediaTime pts;
        std::string thread;
    };

    void add(const PixelBufferRef& buffer, MediaTime pts) {
        char thread[16] = {};
        pthread_getname_np(pthread_self(), thread, sizeof thread);
        std::unique_lock lock(_mutex);
        ++_arrived;
        // A few are kept: cameras recycle a limited number of buffers.
        if (_frames.size() < keptFrames) _frames.push_back({buffer, pts, thread});
        _times.push_back(pts);
        _changed.notify_all();
        _changed.wait(lock, [&] { return !_isHolding; });
    }
    // Frames that arrive from now on stay in their handler until release().
    void hold() {
        const std::lock_guard guard(_mutex);
        _isHolding = true;
    }
    void release() {
        const std::lock_guard guard(_mutex);
        _isHolding = false;
        _changed.notify_all();
    }
    // False when that many have not arrived after a long time.
    bool waitFor(size_t count) {
        std::unique_lock lock(_mutex);
        return _changed.wait_for(lock, std::chrono::seconds(60), [&] { return _arrived >= count; });
    }
    // Lets the kept frames go; those that come next are kept instead.
    void clear() {
        const std::lock_guard guard(_mutex);
        _frames.clear();
    }
    size_t count() const {
        const std::lock_guard guard(_mutex);
        return _arrived;
    }
    std::vector<Frame> frames() const {
        const std::lock_guard guard(_mutex);
        return _frames;
    }
    std::vector<MediaTime> times() const {
        const std::lock_guard guard(_mutex);
        return _times;
    }

private:
    static constexpr size_t keptFrames = 4;

    mutable std::mutex _mutex;
    std::condition_variable _changed;
    std::vector<Frame> _frames;
    std::vector<MediaTime> _times;
    size_t _arrived = 0;
    bool _isHolding = false;
};

} // namespace lanternfly::test
