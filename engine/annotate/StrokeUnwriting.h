// How ink goes away: a stroke retracts from its end to its start, at a speed that takes long
// strokes a little longer.
// Threads: value.
#pragma once

#include <span>
#include <vector>

#include "document/Stroke.h"

namespace lanternfly {

// Sum of the distances between neighbours, in pixels. A pair with a point of fewer than two
// coordinates adds nothing.
double polylineLengthPX(std::span<const Stroke::Point> points);

struct UnwriteDuration {
    double referenceLengthPX = 600; // from here on a stroke takes the longest
    double minSeconds = 0.3;        // of a stroke without length
    double maxSeconds = 0.4;

    // A reference length of 1 or less counts as 1, so that nearly every stroke takes the longest.
    double seconds(double lengthPX) const;
};

// The part of a stroke's points that is left when `fraction` (0…1) of its length is kept, from the
// start on: all of them when it has no length, none at 0.
std::vector<Stroke::Point> keptPart(std::span<const Stroke::Point> points, double fraction);

} // namespace lanternfly
