#include "motion/TwoHandScaleController.h"

#include "base/Match.h"
#include "motion/Easing.h"
#include "motion/PinchMotion.h"
#include "motion/Plausible.h"

namespace lanternfly {
namespace {

constexpr double returnSeconds = 0.28; // as after a pinch of one hand

} // namespace

void TwoHandScaleController::handle(const TwoHandPinchEvent& event) {
    const auto driver = _driver.lock();
    if (!driver) return;
    match(
        event, [&](const TwoHandPinchBegan&) { _start = driver->currentTransform(); },
        [&](const TwoHandPinchChanged& changed) { change(*driver, changed.scaleRatio); },
        [&](const TwoHandPinchEnded&) { end(*driver); });
}

void TwoHandScaleController::change(AppearanceDriver& driver, float scaleRatio) const {
    if (!_start || !isPlausible(scaleRatio)) return;
    OverlayTransform target = *_start;
    target.scale = PinchMotion::rubberBanded(_start->scale * scaleRatio, _configuration.scaleClamp,
                                             _configuration.scaleRubberBand);
    target.visibility = driver.currentTransform().visibility;
    driver.setTransformTarget(target, 0);
}

void TwoHandScaleController::end(AppearanceDriver& driver) {
    if (!_start) return;
    _start.reset();
    OverlayTransform target = driver.currentTransform();
    if (_configuration.scaleClamp.contains(target.scale)) return;
    target.scale = _configuration.scaleClamp.clamp(target.scale);
    driver.setTransformTarget(target, returnSeconds, Easing::releaseSpring);
}

} // namespace lanternfly
