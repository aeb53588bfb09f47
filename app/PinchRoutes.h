// Who gets what the hands do, by mode.
// Threads: value.
#pragma once

#include "app/HostMode.h"

namespace lanternfly {

enum class PinchReceiver { nobody, slide, ink, model };

struct PinchRoute {
    PinchReceiver oneHand, twoHands;
};

constexpr PinchRoute routeOf(HostMode mode) {
    using enum PinchReceiver;
    switch (mode) {
    case HostMode::slide:
    case HostMode::typing: // the keys write, the hands are free
        return {slide, slide};
    case HostMode::drawing:
        return {ink, nobody};
    case HostMode::model:
        return {model, model};
    }
    return {nobody, nobody};
}

// Who takes a pinch that begins now. A lock keeps the slide or the model where it is; ink is no
// part of them. Both hands together go before one of them.
constexpr PinchReceiver takerOfOneHand(HostMode mode, bool isLocked, bool areBothHandsHolding) {
    const PinchReceiver taker = routeOf(mode).oneHand;
    if (taker == PinchReceiver::ink) return taker;
    return isLocked || areBothHandsHolding ? PinchReceiver::nobody : taker;
}
constexpr PinchReceiver takerOfTwoHands(HostMode mode, bool isLocked) {
    return isLocked ? PinchReceiver::nobody : routeOf(mode).twoHands;
}

} // namespace lanternfly
