#include "app/SlidePlacement.h"

#include <algorithm>
#include <cmath>

namespace lanternfly::SlidePlacement {
namespace {

constexpr float cornerScale = 0.36f;
constexpr float padding = 0.0125f; // of the canvas width
constexpr float centreScale = 0.6f;
constexpr float centreHeight = 0.85f; // of the canvas height, at most
constexpr float samePlace = 0.001f;

OverlayTransform inCorner(float slideAspect, float canvasAspect, float scale) {
    return OverlayTransform::upperRight(slideAspect, canvasAspect, scale, padding);
}

} // namespace

OverlayTransform upperRight(float slideAspect, float canvasAspect) {
    return inCorner(slideAspect, canvasAspect, cornerScale);
}

OverlayTransform centre(float slideAspect, float canvasAspect) {
    const float scale = std::min(centreScale, centreHeight * slideAspect / canvasAspect);
    return OverlayTransform::centered(slideAspect, canvasAspect, scale);
}

float fillScale(float slideAspect, float canvasAspect) {
    return std::min(1.0f, slideAspect / canvasAspect);
}

OverlayTransform adapted(const OverlayTransform& placement, float fromAspect, float toAspect,
                         float canvasAspect) {
    OverlayTransform result = placement;
    result.scale *= std::sqrt(toAspect / fromAspect);
    const float2 corner = inCorner(fromAspect, canvasAspect, placement.scale).position;
    if (glm::distance(placement.position, corner) < samePlace)
        result.position = inCorner(toAspect, canvasAspect, result.scale).position;
    return result;
}

} // namespace lanternfly::SlidePlacement
