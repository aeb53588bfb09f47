// A value paired with a lock; the lock is held only to copy a value in or out.
// Threads: safe.
#pragma once

#include <mutex>
#include <utility>

namespace lanternfly {

template <typename Value>
class LockedCell {
public:
    LockedCell() = default;
    explicit LockedCell(Value value) : _value(std::move(value)) {}

    // Runs `body(Value&)` under the lock and returns its result. The body must not call out.
    template <typename Body>
    decltype(auto) withLock(Body&& body) {
        const std::lock_guard guard(_mutex);
        return std::forward<Body>(body)(_value);
    }
    template <typename Body>
    decltype(auto) withLock(Body&& body) const {
        const std::lock_guard guard(_mutex);
        return std::forward<Body>(body)(std::as_const(_value));
    }

    Value get() const {
        const std::lock_guard guard(_mutex);
        return _value;
    }
    void set(Value value) {
        const std::lock_guard guard(_mutex);
        std::swap(_value, value); // the old value dies after the lock is released
    }

private:
    mutable std::mutex _mutex;
    Value _value{};
};

} // namespace lanternfly
