// What each pass hands to its pixel formula, packed as the GPU reads it.
// Threads: value.
#pragma once

#include "base/Vectors.h"

namespace lanternfly {

// "Short-side half" is the unit of distances across a pane: half of its shorter side.

struct SlideUniforms {
    float4 params{0}; // opacity, aspect (width / height), corner radius (short-side half), unused
    float4 glass{0}; // shadow radius (short-side half), shadow strength 0…1, rim width (short-side
                     // half), specular height (fraction of the slide's height)
    float4 glass2{0}; // rim brightness at v = 0, at v = 1, specular intensity, unused
    friend bool operator==(const SlideUniforms&, const SlideUniforms&) = default;
};

struct BackdropUniforms {
    float4 params{0};     // aspect, corner radius (short-side half), mirror 0 or 1, opacity
    float2 canvasSize{0}; // pixels
    friend bool operator==(const BackdropUniforms&, const BackdropUniforms&) = default;
};

struct PinchBarUniforms {
    float4 params{0}; // aspect (at least 1), opacity, unused, unused
    friend bool operator==(const PinchBarUniforms&, const PinchBarUniforms&) = default;
};

// The look of the capsule is fixed.
struct PinchBarLook {
    static constexpr float shadowRadius = 0.4f; // half bar heights
    static constexpr float shadowStrength = 0.22f;
    static constexpr float strokeLow = 0.20f; // at v = 0
    static constexpr float strokeHigh = 0.42f;
    static constexpr float fillLow = 0.32f;
    static constexpr float fillHigh = 0.46f;
    static constexpr float fillRed = 0.95f;
    static constexpr float fillGreen = 0.96f;
    static constexpr float fillBlue = 0.98f;
};

struct SpatialUniforms {
    float4 levelParams{0}; // opacity, black floor, white ceiling, level-match strength; each 0…1
    float4 wrapParams{0};  // light-wrap width (fraction of the texture's long side), light-wrap
                           // strength 0…1, edge softness 0…1, unused
    friend bool operator==(const SpatialUniforms&, const SpatialUniforms&) = default;
};

// A strength at or below it leaves the finishing pass's effect out.
inline constexpr float minSpatialStrength = 0.001f;
// The soft matte is never narrower than this fraction of the long side.
inline constexpr float minSoftMatteWidth = 0.010f;

struct StrokeUniforms {
    float4x4 mvp{1};     // authoring-viewport pixels, y down, to clip space
    float4 color{0};     // straight alpha
    float widthScale{1}; // of the core; the feather keeps its width
    friend bool operator==(const StrokeUniforms&, const StrokeUniforms&) = default;
};
// A feather is never narrower than this, so that an edge without feather is a hard one.
inline constexpr float minFeatherSpan = 0.001f;

struct TwoHandDotsUniforms {
    float4 params{0};  // left x, left y, right x, right y in clip space
    float4 params2{0}; // left opacity, right opacity, radius in clip units, frame width / height
    float4 tint{0};    // red, green, blue, soft-edge width in clip units
    friend bool operator==(const TwoHandDotsUniforms&, const TwoHandDotsUniforms&) = default;
};

// Two smoothstep edges are kept at least this far apart, so that a width of 0 is a hard step.
inline constexpr float minSmoothstepSpan = 1e-5f;

} // namespace lanternfly
