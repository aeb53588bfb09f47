#include "motion/OverlayTransform.h"

#include "document/Layer.h"
#include "motion/Plausible.h"

namespace lanternfly {

namespace {

constexpr float minimumSlideAspect = 0.01f;

float2 anchorPosition(Anchor anchor) {
    switch (anchor) {
    case Anchor::topLeft:
        return {-0.5f, 0.5f};
    case Anchor::topCenter:
        return {0, 0.5f};
    case Anchor::topRight:
        return {0.5f, 0.5f};
    case Anchor::middleLeft:
        return {-0.5f, 0};
    case Anchor::middleCenter:
        return {0, 0};
    case Anchor::middleRight:
        return {0.5f, 0};
    case Anchor::bottomLeft:
        return {-0.5f, -0.5f};
    case Anchor::bottomCenter:
        return {0, -0.5f};
    case Anchor::bottomRight:
        return {0.5f, -0.5f};
    case Anchor::center:
        return {0, 0};
    }
    return {0, 0};
}

float depthOf(SizeClass sizeClass) {
    switch (sizeClass) {
    case SizeClass::large:
        return 1;
    case SizeClass::medium:
        return 0.5f;
    case SizeClass::small:
        return 0;
    }
    return 0.5f;
}

bool isPlausible(const Position& position) {
    return lanternfly::isPlausible(position.x) && lanternfly::isPlausible(position.y) &&
           lanternfly::isPlausible(position.z);
}

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

OverlayTransform OverlayTransform::ofLayer(const Layer& layer, float) {
    const float visibility = layer.isHidden ? 0 : 1;
    const auto& position = layer.placement.position;
    if (position && isPlausible(*position))
        return {float2(double2(position->x, position->y) / 2.0),
                scaleForDepth(static_cast<float>(position->z)), visibility};
    return {anchorPosition(layer.placement.anchor),
            scaleForDepth(depthOf(layer.placement.sizeClass)), visibility};
}

Position OverlayTransform::kivaPosition() const {
    return {2 * static_cast<double>(position.x), 2 * static_cast<double>(position.y),
            depthForScale(scale)};
}

float OverlayTransform::scaleForDepth(float z) {
    return z < 0.5f ? 0.18f + 2 * z * 0.18f : 0.36f + 2 * (z - 0.5f) * 0.29f;
}

float OverlayTransform::depthForScale(float scale) {
    return scale < 0.36f ? (scale - 0.18f) / 0.18f * 0.5f : (scale - 0.36f) / 0.29f * 0.5f + 0.5f;
}

} // namespace lanternfly
