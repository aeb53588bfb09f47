// The mark on screen that says that a pinch is seen.
// Threads: value.
#pragma once

namespace lanternfly {

struct PinchIndicatorState {
    float opacity = 0; // 0…1

    static const PinchIndicatorState inactive;

    friend bool operator==(const PinchIndicatorState&, const PinchIndicatorState&) = default;
};

inline constexpr PinchIndicatorState PinchIndicatorState::inactive{};

} // namespace lanternfly
