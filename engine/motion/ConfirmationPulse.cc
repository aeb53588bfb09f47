#include "motion/ConfirmationPulse.h"

#include <algorithm>
#include <cmath>

#include "motion/Plausible.h"

namespace lanternfly {

namespace {

constexpr float leastDecayRate = 0.001f;
constexpr float leastAmplitude = 0.0001f;

} // namespace

void ConfirmationPulse::trigger(float magnitude, float rate, double now) {
    if (!(magnitude > 0) || !isPlausible(magnitude) || !isPlausible(rate)) return;
    amplitude = magnitude;
    decayRate = std::max(rate, leastDecayRate);
    lastTickAt = now;
}

float ConfirmationPulse::tick(double now) {
    if (!(amplitude > 0)) return 0;
    const float elapsed = static_cast<float>(std::max(now - lastTickAt, 0.0));
    amplitude *= std::exp(-decayRate * elapsed);
    if (amplitude < leastAmplitude) amplitude = 0;
    lastTickAt = now;
    return amplitude;
}

} // namespace lanternfly
