// Frosted glass: the blurred camera in the shape of the pane.
// Threads: bound.
#pragma once

#include "render/FramePlan.h"

namespace lanternfly {

// Blends one row. `blurred` holds the blurred, already mirrored picture of that row, its first
// pixel at x = `blurredX0`, readable for the rectangle widened to multiples of 16 pixels.
void drawBackdropRow(const BackdropDraw& draw, const uint8_t* blurred, int blurredX0, int y,
                     uint8_t* output);

} // namespace lanternfly
