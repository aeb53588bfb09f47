// The two dots that say that both hands are seen, so that they may pinch together: faint while they
// are open, full while they pinch.
// Threads: bound.
#pragma once

#include <optional>

#include "base/Vectors.h"
#include "motion/TwoHandDiscoverabilityState.h"

namespace lanternfly {

// Of one side, in the camera picture (0…1, origin at the lower left).
struct VisibleHand {
    float2 at{0, 0}; // where thumb and index finger would meet
    bool isPinching = false;
};
struct VisibleHands {
    std::optional<VisibleHand> left, right;
};

class TwoHandHints {
public:
    static constexpr float openOpacity = 0.3f;
    static constexpr double fadeSeconds = 0.2;    // all the way
    static constexpr double followSeconds = 0.04; // a dot covers 63 % of its way

    // Once a frame, with the media time.
    TwoHandDiscoverabilityState advance(const VisibleHands& hands, bool isMirrored,
                                        double nowSeconds);

private:
    struct Dot {
        float opacity = 0;
        float2 at{0, 0}; // in the camera picture

        void advance(const std::optional<VisibleHand>& hand, double seconds);
    };

    std::optional<double> _lastSeconds;
    Dot _left, _right;
};

} // namespace lanternfly
