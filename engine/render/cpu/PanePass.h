// The slide as a pane of glass: content, rim, specular crescent and drop shadow.
// Threads: bound.
#pragma once

#include "base/PixelBuffer.h"
#include "render/FramePlan.h"
#include "render/cpu/DitherTable.h"
#include "render/cpu/Rows.h"
#include "render/cpu/TextureView.h"

namespace lanternfly {

void drawPane(const PaneDraw& draw, const TextureView& slide, const DitherTable& dither, Rows rows,
              PixelBuffer& output);

} // namespace lanternfly
