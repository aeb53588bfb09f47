#include "app/StageTransition.h"

#include <algorithm>

namespace lanternfly {

StageTransition::Look StageTransition::advance(const Look& wanted, double nowSeconds) {
    if (!_lastSeconds) _look = wanted;
    const double seconds = std::max(nowSeconds - _lastSeconds.value_or(nowSeconds), 0.0);
    _lastSeconds = nowSeconds;

    const auto dipStep = static_cast<float>(seconds / dipSeconds);
    const bool isChanging = _look.mode != wanted.mode;
    _dip = std::clamp(_dip + (isChanging ? dipStep : -dipStep), 0.0f, 1.0f);
    if (_dip >= 1) _look.mode = wanted.mode;

    const auto step = static_cast<float>(seconds / darkenSeconds);
    _look.darkening = std::clamp(wanted.darkening, _look.darkening - step, _look.darkening + step);
    return {_look.mode, std::max(_look.darkening, _dip)};
}

} // namespace lanternfly
