#include "motion/Easing.h"

namespace lanternfly {

namespace {

// Not std::clamp, which lets a not-a-number through.
float unit(float t) {
    if (!(t > 0)) return 0;
    return t < 1 ? t : 1;
}

} // namespace

float Easing::easeInOut(float t) {
    t = unit(t);
    return t * t * (3 - 2 * t);
}

float Easing::easeOut(float t) {
    const float rest = 1 - unit(t);
    return 1 - rest * rest * rest;
}

float Easing::releaseSpring(float t) {
    const float rest = 1 - unit(t);
    return 1 - rest * rest * rest * rest * rest;
}

float Easing::smootherStep(float t) {
    t = unit(t);
    return t * t * t * (t * (6 * t - 15) + 10);
}

} // namespace lanternfly
