#include "motion/OverlayTransform.h"

namespace lanternfly {

namespace {

constexpr float minimumSlideAspect = 0.01f;

} // namespace

OverlayTransform OverlayTransform::upperRight(float slideAspect, float canvas, float scale,
                                              float paddingFraction) {
    const float aspect = slideAspect <= minimumSlideAspect ? minimumSlideAspect : slideAspect;
    const float x = -(0.5f - scale / 2 - paddingFraction);
    const float y = 0.5f - (canvas * scale) / (2 * aspect) - canvas * paddingFraction;
    return {{x, y}, scale, 1};
}

OverlayTransform OverlayTransform::centered(float, float, float scale) {
    return {{0, 0}, scale, 1};
}

float OverlayTransform::scaleForDepth(float z) {
    return z < 0.5f ? 0.18f + 2 * z * 0.18f : 0.36f + 2 * (z - 0.5f) * 0.29f;
}

float OverlayTransform::depthForScale(float scale) {
    return scale < 0.36f ? (scale - 0.18f) / 0.18f * 0.5f : (scale - 0.36f) / 0.29f * 0.5f + 0.5f;
}

} // namespace lanternfly
