#include "render/cpu/PaneField.h"

#include <algorithm>
#include <cmath>

namespace lanternfly {

namespace {

// An upper bound of how far the pane distance moves from one pixel to the next, summed over both
// directions. d(X/w)/dx has a numerator that is linear over the frame, so that its largest value
// lies in a corner of the rectangle, and so does the smallest w.
double largestStep(const PixelToPane& toPane, const PixelRect& rect, double2 halfExtent) {
    double minW = 1e300;
    double2 alongX(0);
    double2 alongY(0);
    for (const int px : {rect.x0, rect.x1})
        for (const int py : {rect.y0, rect.y1}) {
            const glm::dvec3 d(px - toPane.origin.x, py - toPane.origin.y, 1);
            const double w = glm::dot(toPane.w, d);
            const double2 numerator(glm::dot(toPane.x, d), glm::dot(toPane.y, d));
            minW = std::min(minW, w);
            alongX = glm::max(
                alongX, glm::abs(double2(toPane.x.x, toPane.y.x) * w - numerator * toPane.w.x));
            alongY = glm::max(
                alongY, glm::abs(double2(toPane.x.y, toPane.y.y) * w - numerator * toPane.w.y));
        }
    if (!(minW > 1e-3)) return 1e9; // a corner outside the pane lies behind the viewer
    return glm::dot(alongX + alongY, halfExtent) / (minW * minW);
}

} // namespace

PaneField PaneField::make(const PanePlace& place, float aspect, float cornerRadius) {
    PaneField field;
    const float2 half = paneHalfExtent(aspect);
    field.originX = static_cast<float>(place.toPane.origin.x);
    field.originY = static_cast<float>(place.toPane.origin.y);
    for (int i = 0; i < 3; ++i) {
        field.x[i] = static_cast<float>(place.toPane.x[i]);
        field.y[i] = static_cast<float>(place.toPane.y[i]);
        field.w[i] = static_cast<float>(place.toPane.w[i]);
    }
    field.extent = place.quad.extent();
    field.halfX = half.x;
    field.halfY = half.y;
    field.radius = cornerRadius;
    field.maxEdgeWidth = std::max(
        static_cast<float>(1.01 * largestStep(place.toPane, place.rect, double2(half))), 1e-5f);
    return field;
}

} // namespace lanternfly
