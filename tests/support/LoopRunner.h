// Runs an event loop until something has come about.
// Threads: bound.
#pragma once

#include <functional>

#include <poll.h>

#include "app/EventLoop.h"
#include "base/Clock.h"

namespace lanternfly::test {

// False when it does not come about after a long time.
inline bool runUntil(EventLoop& loop, const std::function<bool()>& condition) {
    constexpr double patienceSeconds = 60;
    const double end = SystemClock::shared().uptimeSeconds() + patienceSeconds;
    while (!condition()) {
        if (SystemClock::shared().uptimeSeconds() > end) return false;
        constexpr int lookAgainMs = 20; // a condition may depend on other threads
        pollfd waited{loop.descriptor(), POLLIN, 0};
        poll(&waited, 1, lookAgainMs);
        loop.dispatch();
    }
    return true;
}

} // namespace lanternfly::test
