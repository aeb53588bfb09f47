// Draws one triangle strip of ink: each triangle covers the pixels whose centres it holds, and
// shared edges belong to one side, as on a GPU; a stroke that crosses itself is blended twice
// there. Threads: bound.
#pragma once

#include "base/PixelBuffer.h"
#include "base/Vectors.h"
#include "render/cpu/InkLayer.h"

namespace lanternfly {

struct StrokeStrip {
    const float* vertices; // as of a StrokeBatch
    int vertexCount;       // 3 or more
    float2 pixelsPerUnit;  // of the authoring viewport
    float4 color;          // straight, 0…1
    float widthScale;
};

// `layer` is the one whose pixels the output is; null: none.
void drawStrip(const StrokeStrip& strip, PixelBuffer& output, InkLayer* layer);

} // namespace lanternfly
