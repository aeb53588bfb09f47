// Two sticky placements: the centre of the canvas, and the scale that fills it. What is close to
// them is drawn closer, by a cubic fall-off that is continuous at the radius and, for strengths up
// to 1, never lets two placements change their order.
// Threads: safe.
#pragma once

#include "motion/OverlayTransform.h"
#include "store/BiasConfig.h"

namespace lanternfly::TransformBias {

float2 biasedPosition(float2 position, const BiasConfig& config);
// `fill` is the scale at which the overlay fills the canvas.
float biasedScale(float scale, float fill, const BiasConfig& config);
OverlayTransform apply(const OverlayTransform& transform, const BiasConfig& config,
                       float fillScale);

} // namespace lanternfly::TransformBias
