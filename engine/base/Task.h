// A move-only callable that lives in fixed storage, so that a hop between queues allocates nothing.
// Threads: value.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace lanternfly {

class Task {
public:
    static constexpr size_t capacityBytes = 192;

    Task() = default;

    template <typename Body>
    requires(!std::same_as<std::remove_cvref_t<Body>, Task> && std::invocable<Body&>)
        Task(Body&& body) {
        using Stored = std::remove_cvref_t<Body>;
        static_assert(sizeof(Stored) <= capacityBytes, "capture less, or capture a pointer");
        static_assert(alignof(Stored) <= alignof(std::max_align_t));
        static_assert(std::is_nothrow_move_constructible_v<Stored>);
        ::new (static_cast<void*>(_storage.data())) Stored(std::forward<Body>(body));
        _operations = &operationsOf<Stored>;
    }

    Task(Task&& other) noexcept { take(other); }
    Task& operator=(Task&& other) noexcept {
        if (this != &other) {
            reset();
            take(other);
        }
        return *this;
    }
    ~Task() { reset(); }

    explicit operator bool() const { return _operations != nullptr; }
    void operator()() { _operations->run(_storage.data()); }
    void reset() {
        if (_operations) std::exchange(_operations, nullptr)->destroy(_storage.data());
    }

private:
    struct Operations {
        void (*run)(std::byte*);
        void (*moveTo)(std::byte* from, std::byte* to);
        void (*destroy)(std::byte*);
    };

    template <typename Stored>
    static Stored& stored(std::byte* storage) {
        return *std::launder(reinterpret_cast<Stored*>(storage));
    }
    template <typename Stored>
    static constexpr Operations operationsOf{
        [](std::byte* at) { stored<Stored>(at)(); },
        [](std::byte* from, std::byte* to) {
            ::new (static_cast<void*>(to)) Stored(std::move(stored<Stored>(from)));
            std::destroy_at(&stored<Stored>(from));
        },
        [](std::byte* at) { std::destroy_at(&stored<Stored>(at)); }};

    void take(Task& other) {
        if (!other._operations) return;
        other._operations->moveTo(other._storage.data(), _storage.data());
        _operations = std::exchange(other._operations, nullptr);
    }

    alignas(std::max_align_t) std::array<std::byte, capacityBytes> _storage;
    const Operations* _operations = nullptr;
};

} // namespace lanternfly
