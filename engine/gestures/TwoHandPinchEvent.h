// What a pinch of both hands does: began, changed …, ended.
// Threads: value.
#pragma once

#include <cstdint>
#include <variant>

#include "base/MediaTime.h"
#include "base/Vectors.h"

namespace lanternfly {

// Places are in normalised image coordinates (origin at the lower left). `midpoint` is midway
// between the two pinch points. `sourcePts` and `arrivedAtUptimeNanos` are those of the left hand's
// camera frame.
struct TwoHandPinchBegan {
    float2 midpoint{0, 0};
    MediaTime sourcePts;
    uint64_t arrivedAtUptimeNanos = 0;
    friend bool operator==(const TwoHandPinchBegan&, const TwoHandPinchBegan&) = default;
};

struct TwoHandPinchChanged {
    float2 midpoint{0, 0};
    // ln(right hand's size ÷ left hand's): no angle in the picture but a cue of depth, above 0 when
    // the right hand is nearer the camera. Only its difference to the start means something.
    float yawRadians = 0;
    float yawStartRadians = 0; // at the beginning
    float scaleRatio = 1;      // separation ÷ separation at the beginning
    float leftDeltaY = 0;      // since the beginning, up
    float rightDeltaY = 0;
    float separation = 0; // between the pinch points
    MediaTime sourcePts;
    uint64_t arrivedAtUptimeNanos = 0;
    friend bool operator==(const TwoHandPinchChanged&, const TwoHandPinchChanged&) = default;
};

// Of the left hand if it is in sight, else of the right; invalid time and 0 without either.
struct TwoHandPinchEnded {
    MediaTime sourcePts;
    uint64_t arrivedAtUptimeNanos = 0;
    friend bool operator==(const TwoHandPinchEnded&, const TwoHandPinchEnded&) = default;
};

using TwoHandPinchEvent = std::variant<TwoHandPinchBegan, TwoHandPinchChanged, TwoHandPinchEnded>;

} // namespace lanternfly
