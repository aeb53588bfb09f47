// The way of the overlay from one placement to the next.
// Threads: value.
#pragma once

#include "motion/Easing.h"
#include "motion/OverlayTransform.h"

namespace lanternfly {

// Times are media clock seconds.
struct TransformAnimation {
    OverlayTransform target;
    OverlayTransform start = target;
    double startTime = 0;
    double durationSeconds = 0;
    bool isAnimating = false;
    EasingCurve curve = Easing::easeInOut;

    // What is on screen.
    OverlayTransform at(double now) const;
    // Sets out from what is on screen, so that nothing jumps. A duration that is not above 0 takes
    // the target at once.
    void retarget(const OverlayTransform& newTarget, double duration, EasingCurve newCurve,
                  double now);
    // Comes to rest on the target once the time is over.
    void settle(double now);
};

} // namespace lanternfly
