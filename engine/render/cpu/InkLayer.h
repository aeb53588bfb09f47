// The strokes that stand still, drawn once: a clear picture of the frame's size with them on it,
// premultiplied, and where it is not clear. Blending it is "over" too, and "over" is associative,
// so the frame is the same to a rounding.
// Threads: bound, but several may mark and blend, each other rows.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "base/PixelBuffer.h"
#include "render/FramePlan.h"
#include "render/cpu/Rows.h"

namespace lanternfly {

class InkLayer {
public:
    explicit InkLayer(FrameSize frame);

    // Null when memory is short. It begins clear.
    PixelBuffer* pixels();
    // Ink was drawn in here, and nowhere else.
    void mark(const PixelRect& rect);
    void clear();
    void blendOnto(PixelBuffer& output, Rows rows) const;

private:
    const FrameSize _frame;
    int _tilePixels;               // of a row's 64 tiles
    std::vector<uint64_t> _marked; // one a row, one bit a tile
    PixelBufferRef _pixels;
};

} // namespace lanternfly
