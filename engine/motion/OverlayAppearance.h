// How the overlay looks at one moment.
// Threads: value.
#pragma once

namespace lanternfly {

struct OverlayAppearance {
    float opacity = 1; // 0…1
    float blur = 0;    // how strongly the picture behind the overlay is blurred, 0…12
    float tiltX = 0;   // about the horizontal axis, degrees
    float tiltY = 0;   // about the vertical axis, degrees

    static const OverlayAppearance visible;
    static const OverlayAppearance hidden;

    friend bool operator==(const OverlayAppearance&, const OverlayAppearance&) = default;
};

inline constexpr OverlayAppearance OverlayAppearance::visible{};
inline constexpr OverlayAppearance OverlayAppearance::hidden{.opacity = 0};

} // namespace lanternfly
