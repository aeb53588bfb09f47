// Where a point of the camera picture lies in the output picture. The camera fills the output,
// mirrored or not; camera points are in 0…1 with the origin at the lower left.
// Threads: value.
#pragma once

#include "base/Vectors.h"
#include "document/Stroke.h"

namespace lanternfly {

// In pixels of the viewport, y down, as ink is drawn.
inline double2 viewportPoint(float2 camera, const DrawingViewport& viewport, bool isMirrored) {
    const double x = isMirrored ? 1 - double{camera.x} : double{camera.x};
    return {x * viewport.width, (1 - double{camera.y}) * viewport.height};
}

// As TwoHandDiscoverabilityState has it: -1…1 with x to the left, since the compositor negates it.
inline float2 dotPosition(float2 camera, bool isMirrored) {
    const float x = 2 * camera.x - 1;
    return {isMirrored ? x : -x, 2 * camera.y - 1};
}

} // namespace lanternfly
