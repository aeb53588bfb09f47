// A texture over the whole frame: the annotation layer, or a 3D model without finishing.
// Threads: bound.
#pragma once

#include "base/PixelBuffer.h"
#include "render/cpu/Rows.h"
#include "render/cpu/TextureView.h"

namespace lanternfly {

struct LayerDraw {
    TextureView texture;
    float opacity = 1;
    bool vDownward = true;
    PixelRect rect; // no pixel outside is touched
};

void drawLayer(const LayerDraw& draw, Rows rows, PixelBuffer& output);

} // namespace lanternfly
