// All that the compositor needs to know about the overlay for one frame.
// Threads: value.
#pragma once

#include "motion/OverlayAppearance.h"
#include "motion/OverlayTransform.h"

namespace lanternfly {

struct OverlaySnapshot {
    OverlayTransform transform;
    OverlayAppearance appearance;
    float2 targetVelocity{0, 0}; // smoothed, canvas units per second

    friend bool operator==(const OverlaySnapshot&, const OverlaySnapshot&) = default;
};

} // namespace lanternfly
