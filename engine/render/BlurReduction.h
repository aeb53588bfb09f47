// How a Gaussian of large sigma becomes a small one on a picture averaged down.
//
// The square of the box, (D² - 1) / 12, and of the interpolation back, D² / 6, are taken off the
// wanted variance before the averaged picture is convolved.
// Threads: value.
#pragma once

#include <algorithm>
#include <cmath>

namespace lanternfly {

inline constexpr int maxBlurReduction = 16;
inline constexpr float minReducedSigma = 2.5f; // below it the interpolation would show
inline constexpr float blurSigmasReached = 3;  // what lies farther away is left out

// How far the picture is averaged down for a sigma in pixels: 1, 2, 4, 8 or 16.
inline int blurReductionFor(float sigma) {
    int reduction = 1;
    while (reduction < maxBlurReduction &&
           sigma >= minReducedSigma * 2 * static_cast<float>(reduction))
        reduction *= 2;
    return reduction;
}

// In averaged pixels.
inline float reducedBlurSigma(float sigma, int reduction) {
    if (reduction == 1) return sigma;
    const auto d2 = static_cast<float>(reduction * reduction);
    return std::sqrt((sigma * sigma - (d2 - 1) / 12 - d2 / 6) / d2);
}

inline int blurRadiusFor(float sigma) {
    return std::max(static_cast<int>(std::ceil(blurSigmasReached * sigma)), 1);
}

} // namespace lanternfly
