// The camera behind the lens.
#pragma once

#include <vector>

#include "Maths.h"

namespace presenter {

struct Film {
    float exposure = .8f, noise = 1.f, vignette = .22f, sharpen = .35f, soft = .5f, sat = 1.02f;
    V3 balance{1, 1, 1};
    uint64_t seed = 1;
    // From linear light to display RGB: tone curve, lens, sharpening and sensor noise.
    void develop(std::vector<V3>& im, int w, int h, std::vector<uint8_t>& rgb) const;
};

} // namespace presenter
