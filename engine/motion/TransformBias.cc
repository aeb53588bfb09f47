#include "motion/TransformBias.h"

#include <cmath>

namespace lanternfly::TransformBias {

namespace {

// The part of the distance that is left: all of it at the radius, 1 − strength at the attractor.
float remaining(float distance, float radius, float strength) {
    const float k = 1 - distance / radius;
    return 1 - k * k * k * strength;
}

} // namespace

float2 biasedPosition(float2 position, const BiasConfig& config) {
    const float r = glm::length(position);
    if (!(r > 0 && r < config.centerRadius && config.centerStrength > 0)) return position;
    return position * remaining(r, config.centerRadius, config.centerStrength);
}

float biasedScale(float scale, float fill, const BiasConfig& config) {
    const float d = scale - fill;
    if (d == 0) return scale;
    if (!(std::abs(d) < config.fillRadius && config.fillStrength > 0)) return scale;
    return fill + d * remaining(std::abs(d), config.fillRadius, config.fillStrength);
}

OverlayTransform apply(const OverlayTransform& transform, const BiasConfig& config,
                       float fillScale) {
    return {biasedPosition(transform.position, config),
            biasedScale(transform.scale, fillScale, config), transform.visibility};
}

} // namespace lanternfly::TransformBias
