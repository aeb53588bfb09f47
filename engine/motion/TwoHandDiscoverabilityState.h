// Two dots that show where each hand of a two-hand pinch is.
// Threads: value.
#pragma once

#include "base/Vectors.h"

namespace lanternfly {

struct TwoHandDiscoverabilityState {
    float leftDotOpacity = 0; // 0…1
    float rightDotOpacity = 0;
    float2 leftDotPosition{0, 0};
    float2 rightDotPosition{0, 0};

    static const TwoHandDiscoverabilityState inactive;

    friend bool operator==(const TwoHandDiscoverabilityState&,
                           const TwoHandDiscoverabilityState&) = default;
};

inline constexpr TwoHandDiscoverabilityState TwoHandDiscoverabilityState::inactive{};

} // namespace lanternfly
