// Where a layer stands on the canvas.
// Threads: value.
#pragma once

#include <optional>

namespace lanternfly {

// Ten named places: a 3 × 3 grid in reading order, then the centre itself.
enum class Anchor : int {
    topLeft,
    topCenter,
    topRight,
    middleLeft,
    middleCenter,
    middleRight,
    bottomLeft,
    bottomCenter,
    bottomRight,
    center,
};
inline constexpr int anchorCount = 10;

// How large a layer without an explicit position is: as if at depth 1, 0.5 or 0.
enum class SizeClass : int { large, medium, small };
inline constexpr int sizeClassCount = 3;

// x and y run from −1 to 1 across the canvas, y up; z is depth, 0 far to 1 near, 0.5 neutral.
struct Position {
    double x = 0, y = 0, z = 0.5;

    struct Snapped {
        Anchor anchor;
        SizeClass depth;
        friend bool operator==(const Snapped&, const Snapped&) = default;
    };
    // The nearest anchor and depth; the middle of the grid is `center`. A coordinate that is not a
    // number counts as neutral.
    Snapped snappedToAnchor() const;

    friend bool operator==(const Position&, const Position&) = default;
};

struct Placement {
    std::optional<Position> position{}; // decides alone when present
    Anchor anchor = Anchor::center;
    SizeClass sizeClass = SizeClass::medium;

    // The position with the anchor and size class that it snaps to.
    static Placement at(const Position& position);

    friend bool operator==(const Placement&, const Placement&) = default;
};

} // namespace lanternfly
