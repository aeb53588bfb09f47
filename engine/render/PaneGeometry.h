// Where a flat or tilted pane lies in the frame: its matrix, its quad, and the way back from a
// pixel to the pane.
// Threads: value.
#pragma once

#include <array>

#include "base/Vectors.h"

namespace lanternfly {

// Pixels x0 ≤ x < x1, y0 ≤ y < y1; y = 0 is the top row.
struct PixelRect {
    int x0 = 0, y0 = 0, x1 = 0, y1 = 0;

    bool isEmpty() const { return x0 >= x1 || y0 >= y1; }
    int width() const { return x1 - x0; }
    int height() const { return y1 - y0; }
    friend bool operator==(const PixelRect&, const PixelRect&) = default;
};

// A triangle strip of four vertices x, y, u, v.
struct Quad {
    std::array<float, 16> vertices{};

    // x and y from -(1 + pad) to 1 + pad; u and v from 0 to 1 over the unpadded square and
    // extrapolated into the pad. v runs downward when `vDownward`, else upward; u to the left when
    // `uLeftward`.
    static Quad padded(float pad, bool vDownward, bool uLeftward = false);
    // The whole square, stretched by a factor each way.
    static Quad stretched(float2 factor, bool vDownward);
    // 1 + pad.
    float extent() const { return vertices[12]; }
    bool isVDownward() const { return vertices[3] > vertices[15]; }
    bool isULeftward() const { return vertices[2] > vertices[6]; }
    friend bool operator==(const Quad&, const Quad&) = default;
};

struct PanePlacement {
    double2 centre{0};   // clip units
    double2 halfSize{0}; // clip units, before the tilt
    double tiltXRad = 0; // about the horizontal axis; positive brings the upper edge nearer
    double tiltYRad = 0; // about the vertical axis; positive takes the right edge away
    double frameAspect = 1;
};

// How strongly the far edge shrinks: clip w is 1 + perspective · depth, depth being in units of
// half the pane's longer side. A pane thus tilts alike at every size, and w stays above 0 for
// every pad up to `maxQuadPad`.
inline constexpr double panePerspective = 0.25;
inline constexpr float maxQuadPad = 1.5f;

// Maps the pane's own square (±1) to clip space: size, turn about the horizontal axis, then about
// the vertical one, perspective, translation.
float4x4 paneMatrix(const PanePlacement& placement);

// From a pixel to the pane: with d = pixel centre - origin, each row gives
// row.x · d.x + row.y · d.y + row.z; local = (x row, y row) / w row is 2 · uv - 1.
// The w row is 1 at the pane's centre and positive in front of the viewer.
struct PixelToPane {
    double2 origin{0};
    glm::dvec3 x{0}, y{0}, w{0};
};

// False when the pane is seen edge-on or has no size.
bool invert(const float4x4& matrix, const Quad& quad, int width, int height, PixelToPane& result);

// The pixels that the part |x| ≤ extent.x, |y| ≤ extent.y of the pane can touch, inside the frame.
PixelRect coveredPixels(const float4x4& matrix, double2 extent, int width, int height);

// (a, 1) for a pane at least as wide as high, else (1, 1 / a): its half sides in short-side halves.
float2 paneHalfExtent(float aspect);

} // namespace lanternfly
