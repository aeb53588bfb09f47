#include "app/PinchIndicatorFade.h"

#include <algorithm>

namespace lanternfly {

PinchIndicatorState PinchIndicatorFade::advance(bool isPinching, double nowSeconds) {
    const double elapsed = std::max(nowSeconds - _lastSeconds.value_or(nowSeconds), 0.0);
    _lastSeconds = nowSeconds;
    const double step = isPinching ? elapsed / fadeInSeconds : -elapsed / fadeOutSeconds;
    _progress = std::clamp(_progress + step, 0.0, 1.0);
    // Smoothstep: no visible corner at either end.
    return {.opacity = static_cast<float>(_progress * _progress * (3 - 2 * _progress))};
}

} // namespace lanternfly
