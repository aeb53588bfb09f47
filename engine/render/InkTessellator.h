// From a stroke to what is drawn of it.
//
// A line looks as StrokeGeometry::tessellate() makes it of three times smoothed points, with the
// studio profile: its outline is within `maxErrorPX` of that one, with a small part of its
// vertices. Ribs go first where the line is nearly straight between a few of them, which its own
// points tell, and then where that stays so over several points, or over many that are close
// together as in a tight bend. Memory is kept from one stroke to the next. Threads: value.
#pragma once

#include <optional>
#include <vector>

#include "document/Stroke.h"
#include "render/InkOutline.h"
#include "render/SmoothedLine.h"
#include "render/StrokeBatch.h"

namespace lanternfly {

class InkTessellator {
public:
    // The soft edge of a stroke is 3.5 pixels wide: a pixel of it changes by 8 of 255 at most.
    static constexpr float maxErrorPX = 0.07f;

    // A stroke of one point is a round dot, 1.25 stroke widths across with its feather, but no
    // smaller than the feather is. Null when there is nothing to draw: no usable points, all of
    // them one place, or numbers beyond any drawing surface.
    std::optional<StrokeBatch> batch(const Stroke& stroke, const DrawingViewport& viewport);

private:
    std::optional<StrokeBatch> lineBatch(const Stroke& stroke, const DrawingViewport& viewport);
    void traceLine(double baseWidthPX);
    float skipErrorPX(size_t point, float outerPX) const;

    std::vector<double2> _points;
    SmoothedLine _line;
    InkOutline _outline;
};

} // namespace lanternfly
