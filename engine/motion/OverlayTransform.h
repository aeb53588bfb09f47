// Where the overlay is: its centre, its size and whether it is shown.
// Threads: value.
#pragma once

#include "base/Vectors.h"
#include "document/Placement.h"

namespace lanternfly {

struct Layer;

// Positions live in the canvas space: centred on (0, 0), −0.5…0.5 from edge to edge, y up.
struct OverlayTransform {
    float2 position{0, 0}; // centre of the overlay
    float scale = 1;       // overlay width ÷ canvas width
    float visibility = 1;  // 1 shown, 0 hidden, in between while it fades

    // Where a new overlay appears: upperRight() of a 16:9 slide on a 16:9 canvas at scale 0.36 with
    // padding 0.0125, to four decimals.
    static const OverlayTransform day4Default;

    // `canvas` is the canvas's width ÷ height, `slideAspect` the slide's (at least 0.01 is used),
    // `paddingFraction` the distance from the edges ÷ canvas width. x comes out negative, and is
    // meant to: that is the side that this placement has always been on.
    static OverlayTransform upperRight(float slideAspect, float canvas, float scale,
                                       float paddingFraction);
    static OverlayTransform centered(float slideAspect, float canvas, float scale);

    // The placement of a document's layer: its explicit position, or else its anchor and size
    // class. A position whose numbers are not finite counts as absent. The aspect changes nothing.
    static OverlayTransform ofLayer(const Layer& layer, float canvasAspect);
    // The document's position: −1…1 across the canvas.
    Position kivaPosition() const;

    // A document's depth z (0…1) and the scale that stands for it: straight lines through (0,
    // 0.18), (0.5, 0.36) and (1, 0.65), continued outside. Each is the other's inverse.
    static float scaleForDepth(float z);
    static float depthForScale(float scale);

    friend bool operator==(const OverlayTransform&, const OverlayTransform&) = default;
};

inline constexpr OverlayTransform OverlayTransform::day4Default{{-0.3075f, 0.2978f}, 0.36f, 1};

} // namespace lanternfly
