#include "platform/FrameWorker.h"

#include <utility>

#include <pthread.h>

namespace lanternfly {

FrameWorker::FrameWorker(const std::string& threadName, size_t capacity, Handler handler)
    : _handler(std::move(handler)), _ring(capacity) {
    _thread = std::thread([this, threadName] {
        pthread_setname_np(pthread_self(), threadName.c_str());
        run();
    });
}

FrameWorker::~FrameWorker() {
    end(true);
}

void FrameWorker::finish() {
    end(false);
}

bool FrameWorker::put(PixelBufferRef frame, MediaTime pts) {
    Waiting dropped; // dies after the lock is released
    const std::lock_guard guard(_mutex);
    if (_isEnding) return false;
    const bool isFull = _count == _ring.size();
    if (isFull) {
        dropped = std::move(_ring[_first]);
        _first = (_first + 1) % _ring.size();
        --_count;
    }
    _ring[(_first + _count++) % _ring.size()] = {std::move(frame), pts};
    _changed.notify_all();
    return !isFull;
}

void FrameWorker::end(bool isAbandoning) {
    {
        const std::lock_guard guard(_mutex);
        _isEnding = true;
        for (; isAbandoning && _count > 0; --_count)
            _ring[(_first + _count - 1) % _ring.size()] = {};
        _changed.notify_all();
    }
    const std::lock_guard guard(_joining);
    if (_thread.joinable()) _thread.join();
}

void FrameWorker::run() {
    for (;;) {
        Waiting next;
        {
            std::unique_lock lock(_mutex);
            _changed.wait(lock, [&] { return _isEnding || _count > 0; });
            if (_count == 0) return;
            next = std::exchange(_ring[_first], Waiting{});
            _first = (_first + 1) % _ring.size();
            --_count;
        }
        _handler(next.frame, next.pts);
    }
}

} // namespace lanternfly
