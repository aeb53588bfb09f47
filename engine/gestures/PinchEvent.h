// What a one-hand pinch does: began, changed …, ended.
// Threads: value.
#pragma once

#include <cstdint>
#include <variant>

#include "base/MediaTime.h"
#include "base/Vectors.h"

namespace lanternfly {

// `at` is the pinch point, midway between thumb tip and index tip, in normalised image coordinates
// (origin at the lower left). `sourcePts` and `arrivedAtUptimeNanos` are those of the camera frame.
struct PinchBegan {
    float2 at{0, 0};
    MediaTime sourcePts;
    uint64_t arrivedAtUptimeNanos = 0;
    friend bool operator==(const PinchBegan&, const PinchBegan&) = default;
};

struct PinchChanged {
    float2 at{0, 0};
    float scaleDelta = 1; // hand size now ÷ hand size when the pinch began
    MediaTime sourcePts;
    uint64_t arrivedAtUptimeNanos = 0;
    friend bool operator==(const PinchChanged&, const PinchChanged&) = default;
};

// Invalid time and 0 when the pinch ended without its hand in sight.
struct PinchEnded {
    MediaTime sourcePts;
    uint64_t arrivedAtUptimeNanos = 0;
    friend bool operator==(const PinchEnded&, const PinchEnded&) = default;
};

using PinchEvent = std::variant<PinchBegan, PinchChanged, PinchEnded>;

} // namespace lanternfly
