#include "gestures/OneEuroFilter.h"

#include <cmath>

namespace lanternfly {

namespace {

constexpr float twoPi = 6.2831850f;
constexpr float shortestStepSeconds = 0.000001f;

// Weight of the newest sample in a first-order low-pass at `cutoff` Hz, `dt` seconds after the
// sample before.
float smoothingFactor(float cutoff, float dt) {
    const float tau = 1.0f / (twoPi * cutoff);
    return 1.0f / (1.0f + tau / dt);
}

} // namespace

float OneEuroFilter::filter(float value, double atTimestamp) {
    if (!hasPrevious) {
        hasPrevious = true;
        previousValue = value;
        previousFiltered = value;
        previousDerivativeFiltered = 0;
        previousTimestamp = atTimestamp;
        return value;
    }
    float dt = static_cast<float>(atTimestamp - previousTimestamp);
    if (dt <= shortestStepSeconds) dt = shortestStepSeconds;

    // Against the raw sample before, not the filtered one: the speed must not lag with the output.
    const float derivative = (value - previousValue) / dt;
    const float derivativeWeight = smoothingFactor(derivCutoff, dt);
    const float smoothed =
        derivativeWeight * derivative + (1.0f - derivativeWeight) * previousDerivativeFiltered;

    const float weight = smoothingFactor(minCutoff + beta * std::fabs(smoothed), dt);
    const float output = weight * value + (1.0f - weight) * previousFiltered;

    previousValue = value;
    previousFiltered = output;
    previousDerivativeFiltered = smoothed;
    previousTimestamp = atTimestamp;
    return output;
}

void OneEuroFilter::reset() {
    *this = OneEuroFilter(minCutoff, beta, derivCutoff);
}

} // namespace lanternfly
