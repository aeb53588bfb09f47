// Turns pinches of both hands into the overlay's size: it grows as the hands part, about its own
// centre.
// Threads: bound to the queue that delivers pinch events.
#pragma once

#include <memory>
#include <optional>

#include "gestures/TwoHandPinchEvent.h"
#include "motion/AppearanceDriver.h"
#include "motion/PinchTransformController.h"

namespace lanternfly {

class TwoHandScaleController {
public:
    // The driver is held weakly; without it events do nothing. Of the configuration the limits of
    // the scale are used, so that one hand and both agree on them.
    explicit TwoHandScaleController(std::weak_ptr<AppearanceDriver> driver,
                                    const PinchTransformController::Configuration& configuration =
                                        PinchTransformController::Configuration::defaults)
        : _driver(std::move(driver)), _configuration(configuration) {}

    // An event with a ratio that is not finite, or absurdly large, is ignored.
    void handle(const TwoHandPinchEvent& event);
    // Drops the session, without a target.
    void reset() { _start.reset(); }
    bool isSessionActive() const { return _start.has_value(); }

private:
    void change(AppearanceDriver& driver, float scaleRatio) const;
    void end(AppearanceDriver& driver);

    const std::weak_ptr<AppearanceDriver> _driver;
    const PinchTransformController::Configuration _configuration;
    std::optional<OverlayTransform> _start; // while both hands pinch
};

} // namespace lanternfly
