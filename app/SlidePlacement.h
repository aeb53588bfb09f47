// Where the slide hangs: the placements that commands ask for, and how a placement suits a page of
// another shape.
// Threads: value.
#pragma once

#include "motion/OverlayTransform.h"

namespace lanternfly::SlidePlacement {

inline constexpr double seconds = 0.3; // a slide takes to its place

// Aspects are width over height; the results are shown.
OverlayTransform upperRight(float slideAspect, float canvasAspect);
// As large as it may be before the camera behind it blurs, and whole.
OverlayTransform centre(float slideAspect, float canvasAspect);
// The scale at which the slide touches two edges of the canvas: larger, and part of it would be
// outside.
float fillScale(float slideAspect, float canvasAspect);
// The placement of a page that follows one of another shape: as large in area, in the corner if
// it hung there, else around the same centre. Going back gives the placement that was.
OverlayTransform adapted(const OverlayTransform& placement, float fromAspect, float toAspect,
                         float canvasAspect);

} // namespace lanternfly::SlidePlacement
