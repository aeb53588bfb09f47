// Draws one triangle strip of ink: each triangle covers the pixels whose centres it holds, and
// shared edges belong to one side, as on a GPU; a stroke that crosses itself is blended twice
// there. A strip is cut into pieces first, of which each band of a frame draws those that it meets.
// Threads: value; several may draw one strip, each other rows.
#pragma once

#include <span>

#include "base/PixelBuffer.h"
#include "base/Vectors.h"
#include "render/cpu/InkLayer.h"
#include "render/cpu/Rows.h"

namespace lanternfly {

struct StrokeStrip {
    const float* vertices; // as of a StrokeBatch
    int vertexCount;       // 3 or more
    float2 pixelsPerUnit;  // of the authoring viewport
    float4 color;          // straight, 0…1
    float widthScale;
    bool isLean; // as of a StrokeBatch
};

// From one rib to a later one that can stand for those between them.
struct StripPiece {
    int from, to;
    Rows rows; // no other is touched
};

// The pieces of a strip that meet a frame of this height, in order, and how many they are. There is
// room for one a rib.
size_t cutStrip(const StrokeStrip& strip, int frameHeight, StripPiece* pieces);

// Touches these rows only. `layer` is the one whose pixels the output is; null: none.
void drawStrip(const StrokeStrip& strip, std::span<const StripPiece> pieces, Rows rows,
               PixelBuffer& output, InkLayer* layer);

} // namespace lanternfly
