// Everything that other threads push into the compositor between frames, one record for each group
// of values that changes together.
// Threads: value.
#pragma once

#include <memory>
#include <vector>

#include "gpu/Texture.h"
#include "motion/OverlayAppearance.h"
#include "motion/OverlayTransform.h"
#include "motion/PinchIndicatorState.h"
#include "motion/TwoHandDiscoverabilityState.h"
#include "render/StrokeBatch.h"
#include "store/VisionOSTuning.h"

namespace lanternfly {

struct SlideInput {
    TextureRef texture; // null: no slide
    bool originTopLeft = false;
};

struct SpatialInput {
    TextureRef texture; // the rendered 3D model, null: none
    float opacity = 1;
    float backgroundBlurSigma = 0; // pixels
    float blackFloor = 0;
    float whiteCeiling = 1;
    float levelStrength = 0;
    float lightWrapWidth = 0; // fraction of the texture's long side
    float lightWrapStrength = 0;
    float underlayBlurSigma = 0; // pixels
    float edgeSoftness = 0;
};

struct AnnotationInput {
    TextureRef texture; // null: none
    bool originTopLeft = false;
    float opacity = 1;
};

struct CompositorInputs {
    SlideInput slide;
    OverlayAppearance appearance;
    OverlayTransform transform = OverlayTransform::day4Default;
    VisionOSTuning tuning;
    PinchIndicatorState pinchIndicator;
    TwoHandDiscoverabilityState twoHandDiscoverability;
    SpatialInput spatial;
    AnnotationInput annotation;
    StrokeBatches strokeBatches = sharedBatches({});
    float drawingOpacity = 1;
    float drawingWidthScale = 1;
    bool isDrawingEnabled = true;
};

} // namespace lanternfly
