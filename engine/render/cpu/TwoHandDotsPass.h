// The two dots that show where the hands of a two-hand pinch are.
// Threads: bound.
#pragma once

#include "base/PixelBuffer.h"
#include "render/FramePlan.h"
#include "render/cpu/Rows.h"

namespace lanternfly {

void drawTwoHandDots(const TwoHandDotsDraw& draw, Rows rows, PixelBuffer& output);

} // namespace lanternfly
