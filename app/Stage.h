// What the audience is shown besides the hands' doings: the page, the text, who is in front.
// Threads: value.
#pragma once

#include "render/CompositionMode.h"
#include "render/CompositorInputs.h"
#include "store/VisionOSTuning.h"

namespace lanternfly {

struct Stage {
    SlideInput slide;
    AnnotationInput annotation;
    CompositionMode mode = FullComposition{};
    float darkening = 0; // 0…1
    bool isMirrored = false;
    VisionOSTuning glass;
};

} // namespace lanternfly
