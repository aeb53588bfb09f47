#include "app/TwoHandHints.h"

#include <algorithm>
#include <cmath>

#include "app/HandSpace.h"

namespace lanternfly {

TwoHandDiscoverabilityState TwoHandHints::advance(const VisibleHands& hands, bool isMirrored,
                                                  double nowSeconds) {
    const double seconds = std::max(nowSeconds - _lastSeconds.value_or(nowSeconds), 0.0);
    _lastSeconds = nowSeconds;
    const bool areBothSeen = hands.left && hands.right;
    _left.advance(areBothSeen ? hands.left : std::nullopt, seconds);
    _right.advance(areBothSeen ? hands.right : std::nullopt, seconds);
    return {.leftDotOpacity = _left.opacity,
            .rightDotOpacity = _right.opacity,
            .leftDotPosition = dotPosition(_left.at, isMirrored),
            .rightDotPosition = dotPosition(_right.at, isMirrored)};
}

void TwoHandHints::Dot::advance(const std::optional<VisibleHand>& hand, double seconds) {
    if (hand) {
        const float way = static_cast<float>(1 - std::exp(-seconds / followSeconds));
        at = opacity > 0 ? at + (hand->at - at) * way : hand->at; // one that appears does not slide
    }
    const float wanted = !hand ? 0 : hand->isPinching ? 1 : openOpacity;
    const float step = static_cast<float>(seconds / fadeSeconds);
    opacity = std::clamp(wanted, opacity - step, opacity + step);
}

} // namespace lanternfly
