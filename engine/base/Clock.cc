#include "base/Clock.h"

#include <chrono>
#include <cmath>

namespace lanternfly {

const SystemClock& SystemClock::shared() {
    static const SystemClock clock;
    return clock;
}

uint64_t SystemClock::uptimeNanos() const {
    const auto sinceBoot = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(sinceBoot).count());
}

void ManualClock::advance(double seconds) {
    advanceNanos(static_cast<uint64_t>(std::llround(seconds * 1e9)));
}

} // namespace lanternfly
