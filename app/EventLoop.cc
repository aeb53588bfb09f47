#include "app/EventLoop.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>

namespace lanternfly {
namespace {

constexpr uint64_t wakeKey = 0;

UniqueFd checked(int descriptor) {
    if (descriptor < 0) throw std::system_error(errno, std::generic_category(), "no event loop");
    return UniqueFd(descriptor);
}

void add(const UniqueFd& epoll, int descriptor, uint64_t key) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = key;
    if (epoll_ctl(epoll.get(), EPOLL_CTL_ADD, descriptor, &event) != 0)
        throw std::system_error(errno, std::generic_category(), "cannot watch a descriptor");
}

timespec timespecOf(std::chrono::nanoseconds time) {
    constexpr int64_t second = 1'000'000'000;
    return {time.count() / second, time.count() % second};
}

// Timers and wakers: how often is of no interest.
void drain(int descriptor) {
    uint64_t count = 0;
    while (read(descriptor, &count, sizeof count) < 0 && errno == EINTR) {
    }
}

} // namespace

EventLoop::EventLoop()
    : _epoll(checked(epoll_create1(EPOLL_CLOEXEC))),
      _wake(checked(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))),
      _watched(std::make_shared<std::map<uint64_t, std::shared_ptr<Watched>>>()) {
    add(_epoll, _wake.get(), wakeKey);
}

void EventLoop::post(Task task) {
    {
        const std::lock_guard guard(_mutex);
        _posted.push_back(std::move(task));
    }
    const uint64_t one = 1;
    while (write(_wake.get(), &one, sizeof one) < 0 && errno == EINTR) {
    }
}

EventLoop::Registration EventLoop::watch(int descriptor, Callback onReadable) {
    const uint64_t key = ++_lastKey;
    add(_epoll, descriptor, key);
    auto entry = std::make_shared<Watched>(Watched{descriptor, std::move(onReadable)});
    _watched->emplace(key, entry);
    return {entry.get(),
            [key, epoll = _epoll.get(), weak = std::weak_ptr(_watched)](Watched* gone) {
                const auto watched = weak.lock();
                if (!watched) return; // the loop went first
                epoll_ctl(epoll, EPOLL_CTL_DEL, gone->descriptor, nullptr);
                watched->erase(key);
            }};
}

EventLoop::Registration EventLoop::timer(std::chrono::nanoseconds first,
                                         std::chrono::nanoseconds interval, Callback onTime) {
    const auto descriptor = std::make_shared<UniqueFd>(
        checked(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)));
    // 0 would disarm it.
    first = std::max(first, std::chrono::nanoseconds(1));
    const itimerspec times{timespecOf(interval), timespecOf(first)};
    timerfd_settime(descriptor->get(), 0, &times, nullptr);
    auto watching = watch(descriptor->get(), [at = descriptor->get(), kept = std::move(onTime)] {
        drain(at);
        kept();
    });
    // The watch ends before the descriptor is closed.
    return {watching.get(), [descriptor, watching](void*) mutable { watching.reset(); }};
}

EventLoop::Registration EventLoop::every(std::chrono::nanoseconds interval, Callback onTime) {
    return timer(interval, interval, std::move(onTime));
}

EventLoop::Registration EventLoop::after(std::chrono::nanoseconds delay, Callback onTime) {
    return timer(delay, std::chrono::nanoseconds(0), std::move(onTime));
}

void EventLoop::run() {
    while (!_isQuitting)
        wait(-1);
}

void EventLoop::wait(int timeoutMs) {
    std::array<epoll_event, 16> events;
    const int count = epoll_wait(_epoll.get(), events.data(), events.size(), timeoutMs);
    for (int i = 0; i < count; ++i) {
        const uint64_t key = events[static_cast<size_t>(i)].data.u64;
        if (key == wakeKey) {
            drain(_wake.get());
            runPosted();
            continue;
        }
        // One that ran before may have ended this.
        const auto found = _watched->find(key);
        if (found == _watched->end()) continue;
        const auto kept = found->second;
        kept->onReadable();
    }
}

// What they post in turn waits for the next round, so that nobody is starved.
void EventLoop::runPosted() {
    {
        const std::lock_guard guard(_mutex);
        std::swap(_posted, _running);
    }
    for (Task& task : _running)
        task();
    _running.clear();
}

} // namespace lanternfly
