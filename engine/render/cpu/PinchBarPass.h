// The glass capsule that says that a pinch is seen.
// Threads: bound.
#pragma once

#include "base/PixelBuffer.h"
#include "render/FramePlan.h"
#include "render/cpu/Rows.h"

namespace lanternfly {

void drawPinchBar(const PinchBarDraw& draw, Rows rows, PixelBuffer& output);

} // namespace lanternfly
