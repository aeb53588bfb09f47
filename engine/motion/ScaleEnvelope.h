// What the overlay's size does to its look: very small and very large ones are slightly
// see-through, and large ones blur what is behind them.
// Threads: safe.
#pragma once

#include "store/OpacityConfig.h"

namespace lanternfly {

struct ScaleEnvelope {
    // opacityMax from scale 0.4 to 0.7, opacityMin up to 0.2 and from 1, smooth in between.
    static float opacityFactor(float scale, const OpacityConfig& config);
    // 0 up to scale 0.6, 12 from 1, smooth in between.
    static float blur(float scale);
};

} // namespace lanternfly
