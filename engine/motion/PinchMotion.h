// How a held pinch moves the overlay: from the hand's way to a placement, in pure steps.
// Threads: safe.
#pragma once

#include "base/Vectors.h"

namespace lanternfly {

struct ClosedRange {
    float lower;
    float upper;

    float clamp(float value) const { return glm::clamp(value, lower, upper); }
    float2 clamp(float2 value) const { return glm::clamp(value, lower, upper); }
    bool contains(float value) const { return value >= lower && value <= upper; }

    friend bool operator==(const ClosedRange&, const ClosedRange&) = default;
};

// Position and velocity of a spring whose end the hand pulls; canvas units and seconds.
struct FollowSpring {
    float2 position{0, 0};
    float2 velocity{0, 0};

    // Semi-implicit Euler in steps of at most 0.005 s; at most 0.1 s a call, so that a gap between
    // frames does not fling the overlay. A spring that its tuning lets explode follows the target
    // directly.
    FollowSpring after(double seconds, float2 target, float stiffness, float damping) const;
};

struct PinchMotion {
    // The way of an overlay that sticks to the centre until the hand has gone `breakaway`: it
    // creeps out, and has caught up with the hand at the breakaway distance.
    // `delta` is the hand's way, shorter than `breakaway` and longer than 0.
    static float2 creptOut(float2 delta, float breakaway);
    // The overlay's scale for a hand `scaleDelta` times its first size: growing accelerates by
    // `gainCurve`, shrinking is linear.
    static float scaled(float startScale, float scaleDelta, float gain, float gainCurve);
    // A scale outside its limits overshoots them by less than `band`, the less the further out.
    // No band (0 or less) is a hard clamp.
    static float rubberBanded(float scale, const ClosedRange& limits, float band);
    // How far the overlay still glides when it is let go at `velocity`; (0, 0) when it is to stop
    // at once. At most 0.1.
    static float2 thrown(float2 velocity, float releaseEaseSeconds);
};

} // namespace lanternfly
