#include "motion/ScaleEnvelope.h"

#include "motion/Easing.h"

namespace lanternfly {

namespace {

constexpr float greatestBlur = 12;

} // namespace

float ScaleEnvelope::opacityFactor(float scale, const OpacityConfig& config) {
    if (scale >= 0.4f && scale <= 0.7f) return config.opacityMax;
    if (scale <= 0.2f || scale >= 1) return config.opacityMin;
    const float range = config.opacityMax - config.opacityMin;
    if (scale < 0.4f) return config.opacityMin + range * Easing::easeInOut((scale - 0.2f) / 0.2f);
    return config.opacityMax - range * Easing::easeInOut((scale - 0.7f) / 0.3f);
}

float ScaleEnvelope::blur(float scale) {
    if (scale <= 0.6f) return 0;
    if (scale >= 1) return greatestBlur;
    return greatestBlur * Easing::easeInOut((scale - 0.6f) / 0.4f);
}

} // namespace lanternfly
