// Ink on the canvas.
// Threads: value.
#pragma once

#include <string>
#include <vector>

#include "document/StrokePoint.h"

namespace lanternfly {

// The pixel size of the surface that strokes were drawn on.
struct DrawingViewport {
    double width = 0, height = 0;

    friend bool operator==(const DrawingViewport&, const DrawingViewport&) = default;
};

struct Stroke {
    // Viewport pixels, x then y. Readers tolerate a point of another length.
    using Point = StrokePoint;

    std::string color{}; // "#RRGGBB" or "#RRGGBBAA"
    double width = 0;    // viewport pixels
    std::vector<Point> points{};

    friend bool operator==(const Stroke&, const Stroke&) = default;
};

} // namespace lanternfly
