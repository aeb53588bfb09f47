// Keeps what observers of cameras are told, and waits for it.
// Threads: safe.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

#include "platform/CameraPlatform.h"

namespace lanternfly::test {

class ChangeCollector {
public:
    void add(const CameraChange& change) {
        const std::lock_guard guard(_mutex);
        _changes.push_back(change);
        _changed.notify_all();
    }
    bool waitFor(size_t count) {
        std::unique_lock lock(_mutex);
        return _changed.wait_for(lock, std::chrono::seconds(60),
                                 [&] { return _changes.size() >= count; });
    }
    std::vector<CameraChange> changes() const {
        const std::lock_guard guard(_mutex);
        return _changes;
    }

private:
    mutable std::mutex _mutex;
    std::condition_variable _changed;
    std::vector<CameraChange> _changes;
};

} // namespace lanternfly::test
