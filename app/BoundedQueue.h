// What one stage of a render hands to the next: first in, first out, at most a few at a time, so
// that a fast stage waits for a slow one instead of filling the memory.
// Threads: safe.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace lanternfly {

template <typename Item>
class BoundedQueue {
public:
    explicit BoundedQueue(size_t capacity) : _ring(capacity) {}

    // Waits for room. False when the queue was closed: the item is dropped.
    bool push(Item item) {
        std::unique_lock lock(_mutex);
        _changed.wait(lock, [&] { return _isClosed || _count < _ring.size(); });
        if (_isClosed) return false;
        _ring[(_first + _count++) % _ring.size()] = std::move(item);
        _changed.notify_all();
        return true;
    }
    // Waits for an item. Nothing when the queue is closed and empty.
    std::optional<Item> pop() {
        std::unique_lock lock(_mutex);
        _changed.wait(lock, [&] { return _isClosed || _count > 0; });
        if (_count == 0) return std::nullopt;
        std::optional<Item> item(std::exchange(_ring[_first], Item{}));
        _first = (_first + 1) % _ring.size();
        --_count;
        _changed.notify_all();
        return item;
    }
    // No more items come; those inside can still be taken.
    void close() {
        const std::lock_guard guard(_mutex);
        _isClosed = true;
        _changed.notify_all();
    }
    // Closes, and drops what is inside.
    void abandon() {
        const std::lock_guard guard(_mutex);
        _isClosed = true;
        for (; _count > 0; --_count)
            _ring[(_first + _count - 1) % _ring.size()] = Item{};
        _changed.notify_all();
    }

private:
    std::mutex _mutex;
    std::condition_variable _changed;
    std::vector<Item> _ring;
    size_t _first = 0;
    size_t _count = 0;
    bool _isClosed = false;
};

} // namespace lanternfly
