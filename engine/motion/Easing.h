// Easing curves: progress in time (0…1) to progress in place.
// Threads: safe.
#pragma once

namespace lanternfly {

// Called under the appearance driver's lock: it must not call back into the driver.
using EasingCurve = float (*)(float t);

// Each clamps t to 0…1 first; a t that is not a number counts as 0.
struct Easing {
    static float easeInOut(float t);     // t²·(3 − 2t)
    static float easeOut(float t);       // 1 − (1 − t)³
    static float releaseSpring(float t); // 1 − (1 − t)⁵
    static float smootherStep(float t);  // t³·(t·(6t − 15) + 10)
};

} // namespace lanternfly
