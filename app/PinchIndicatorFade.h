// Lets the pinch indicator come and go softly: in quickly, so that it answers the hand, and out a
// little slower.
// Threads: bound.
#pragma once

#include <optional>

#include "motion/PinchIndicatorState.h"

namespace lanternfly {

class PinchIndicatorFade {
public:
    static constexpr double fadeInSeconds = 0.12;
    static constexpr double fadeOutSeconds = 0.25;

    // Once a frame, with whether a pinch is held and the media time.
    PinchIndicatorState advance(bool isPinching, double nowSeconds);

private:
    std::optional<double> _lastSeconds;
    double _progress = 0; // 0 hidden … 1 shown
};

} // namespace lanternfly
