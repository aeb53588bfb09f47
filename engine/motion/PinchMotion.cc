#include "motion/PinchMotion.h"

#include <algorithm>

#include "motion/Plausible.h"

namespace lanternfly {

namespace {

constexpr double greatestGapSeconds = 0.1;
constexpr double substepSeconds = 0.005;
constexpr float rubberGive = 0.55f;
constexpr float leastReleaseSeconds = 0.001f;
constexpr float leastThrowSpeed = 0.001f;
constexpr float greatestThrow = 0.1f;
// releaseSpring, 1 − (1 − t)⁵, sets out five times as fast as a straight line; so a way of
// speed × time ÷ 5 goes on at the speed at which the hand let go.
constexpr float releaseSpringSlope = 5;

// How far `excess` beyond a limit is let out: as excess at first, never more than `band`.
float overshoot(float excess, float band) {
    return band * (1 - 1 / (1 + excess * rubberGive / band));
}

} // namespace

FollowSpring FollowSpring::after(double seconds, float2 target, float stiffness,
                                 float damping) const {
    FollowSpring spring = *this;
    double remaining = std::min(seconds, greatestGapSeconds);
    while (remaining > 0) {
        const double substep = std::min(remaining, substepSeconds);
        const float h = static_cast<float>(substep);
        const float2 acceleration =
            stiffness * (target - spring.position) - damping * spring.velocity;
        spring.velocity += acceleration * h;
        spring.position += spring.velocity * h;
        remaining -= substep;
    }
    if (!isPlausible(spring.position) || !isPlausible(spring.velocity)) return {target, {0, 0}};
    return spring;
}

float2 PinchMotion::creptOut(float2 delta, float breakaway) {
    const float d = glm::length(delta);
    const float r = d / breakaway;
    return delta * (d - breakaway * r * (1 - r) * (1 - r)) / d;
}

float PinchMotion::scaled(float startScale, float scaleDelta, float gain, float gainCurve) {
    const float s = scaleDelta - 1;
    return startScale * (1 + s * (gain + std::max(s, 0.0f) * gainCurve));
}

float PinchMotion::rubberBanded(float scale, const ClosedRange& limits, float band) {
    if (!(band > 0)) return limits.clamp(scale);
    if (scale < limits.lower) return limits.lower - overshoot(limits.lower - scale, band);
    if (scale > limits.upper) return limits.upper + overshoot(scale - limits.upper, band);
    return scale;
}

float2 PinchMotion::thrown(float2 velocity, float releaseEaseSeconds) {
    if (!(releaseEaseSeconds > leastReleaseSeconds)) return {0, 0};
    if (!(glm::length(velocity) > leastThrowSpeed)) return {0, 0};
    const float2 way = velocity * (releaseEaseSeconds / releaseSpringSlope);
    const float length = glm::length(way);
    return length > greatestThrow ? way * (greatestThrow / length) : way;
}

} // namespace lanternfly
