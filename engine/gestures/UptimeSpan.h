// Elapsed time between two uptimes, in seconds.
#pragma once

#include <cstdint>

namespace lanternfly {

// Counted in nanoseconds first, so that a hold of 0.06 s is reached after 60 ms exactly, however
// long the machine is up. Negative when the clock has jumped back.
inline double elapsedSeconds(uint64_t sinceNanos, uint64_t nowNanos) {
    return nowNanos >= sinceNanos ? static_cast<double>(nowNanos - sinceNanos) / 1e9
                                  : -static_cast<double>(sinceNanos - nowNanos) / 1e9;
}

} // namespace lanternfly
