// The numbers that the per-pixel code of every pane needs, in single precision.
// Threads: value.
#pragma once

#include "render/FramePlan.h"

namespace lanternfly {

struct PaneField {
    // Pane coordinates of a pixel centre: with d = centre - origin, row · (d.x, d.y, 1), then both
    // divided by the w row.
    float originX = 0, originY = 0;
    float x[3] = {}, y[3] = {}, w[3] = {};
    float extent = 1; // nothing is drawn beyond ± extent
    // Rounded rectangle, in short-side halves.
    float halfX = 1, halfY = 1, radius = 0;
    // No pixel of the rectangle has a wider anti-alias band than this.
    float maxEdgeWidth = 0;

    static PaneField make(const PanePlace& place, float aspect, float cornerRadius);
};

} // namespace lanternfly
