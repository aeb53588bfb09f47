// A media timestamp: value / timescale seconds, or no time at all.
// Threads: value.
#pragma once

#include <cstdint>

namespace lanternfly {

struct MediaTime {
    static constexpr uint32_t flagValid = 1;

    int64_t value = 0;
    int32_t timescale = 0; // units per second; above 0 in a valid time
    uint32_t flags = 0;
    int64_t epoch = 0;

    static constexpr MediaTime invalid() { return {}; }
    static constexpr MediaTime make(int64_t value, int32_t timescale) {
        return {value, timescale, timescale > 0 ? flagValid : 0u, 0};
    }
    static MediaTime fromNanos(int64_t nanos);

    constexpr bool isValid() const { return (flags & flagValid) != 0 && timescale > 0; }
    // Seconds; 0 when invalid.
    double seconds() const;

    friend bool operator==(const MediaTime&, const MediaTime&) = default;
};

} // namespace lanternfly
