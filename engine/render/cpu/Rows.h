// A band of rows y0 ≤ y < y1. Passes draw a frame band by band, so that its pixels stay in the
// cache from the background to the last layer.
// Threads: value.
#pragma once

#include <algorithm>

#include "render/PaneGeometry.h"

namespace lanternfly {

struct Rows {
    int y0 = 0, y1 = 0;

    Rows in(const PixelRect& rect) const { return {std::max(y0, rect.y0), std::min(y1, rect.y1)}; }
};

} // namespace lanternfly
