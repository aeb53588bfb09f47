// A picture stretched over a whole frame of another size: bilinear, texel centres, clamped edges.
// Threads: bound.
#pragma once

#include "base/PixelBuffer.h"
#include "render/cpu/Rows.h"
#include "render/cpu/TextureView.h"

namespace lanternfly {

void drawScaled(const TextureView& picture, bool mirror, Rows rows, PixelBuffer& output);

} // namespace lanternfly
