#include "document/Placement.h"

namespace lanternfly {

namespace {

// 0, 1 or 2 for the nearest of −1, 0 and 1.
int nearestThird(double coordinate) {
    if (coordinate < -0.5) return 0;
    if (coordinate > 0.5) return 2;
    return 1;
}

SizeClass nearestSizeClass(double depth) {
    if (depth > 0.75) return SizeClass::large;
    if (depth < 0.25) return SizeClass::small;
    return SizeClass::medium;
}

} // namespace

Position::Snapped Position::snappedToAnchor() const {
    const int column = nearestThird(x);
    const int row = 2 - nearestThird(y);
    const auto anchor = static_cast<Anchor>(3 * row + column);
    return {anchor == Anchor::middleCenter ? Anchor::center : anchor, nearestSizeClass(z)};
}

Placement Placement::at(const Position& position) {
    const auto snapped = position.snappedToAnchor();
    return {position, snapped.anchor, snapped.depth};
}

} // namespace lanternfly
