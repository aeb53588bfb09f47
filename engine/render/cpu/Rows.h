// Parts of a frame. A band of rows y0 ≤ y < y1: passes draw a frame band by band, so that its
// pixels stay in the cache from the background to the last layer.
// Threads: value.
#pragma once

#include <algorithm>

#include "render/PaneGeometry.h"

namespace lanternfly {

// Of every instruction set.
inline constexpr int vectorPixels = 16;

// Rectangles of rows read by vector code begin and end at whole vectors.
inline PixelRect inWholeVectors(PixelRect rect, int width) {
    rect.x0 = rect.x0 / vectorPixels * vectorPixels;
    rect.x1 = std::min((rect.x1 + vectorPixels - 1) / vectorPixels * vectorPixels, width);
    return rect;
}

struct Rows {
    int y0 = 0, y1 = 0;

    bool isEmpty() const { return y0 >= y1; }
    Rows in(Rows other) const { return {std::max(y0, other.y0), std::min(y1, other.y1)}; }
    Rows in(const PixelRect& rect) const { return in(Rows{rect.y0, rect.y1}); }
};

} // namespace lanternfly
