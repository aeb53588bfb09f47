// The single owner of where the overlay is and how it looks. Controllers give it targets, the
// compositor takes one snapshot a frame; in between it animates, tilts, pulses and biases.
// Threads: safe. Nothing here allocates.
#pragma once

#include <optional>

#include "base/Clock.h"
#include "base/LockedCell.h"
#include "motion/ConfirmationPulse.h"
#include "motion/Easing.h"
#include "motion/OverlaySnapshot.h"
#include "motion/TargetVelocity.h"
#include "motion/TiltSpring.h"
#include "motion/TransformAnimation.h"
#include "store/BiasConfig.h"
#include "store/OpacityConfig.h"
#include "store/TiltConfig.h"

namespace lanternfly {

// Durations are seconds; an absent one is the default duration, an absent curve is easeInOut. A
// placement or a tuning record with a number that is not finite, or absurdly large, is ignored
// whole: what is on screen stays.
class AppearanceDriver {
public:
    AppearanceDriver(const Clock& clock, const OverlayTransform& initial, double defaultDuration);

    // Goes from what is on screen to `transform`. `tiltDriveOverride` replaces the tilt's drive
    // until the next target.
    void setTransformTarget(const OverlayTransform& transform,
                            std::optional<double> duration = std::nullopt,
                            EasingCurve curve = nullptr,
                            std::optional<float> tiltDriveOverride = std::nullopt);
    OverlayTransform currentTarget() const;
    // On screen now, before the bias.
    OverlayTransform currentTransform() const;
    OverlayTransform currentBiasedTransform() const;

    void toggleVisibility(std::optional<double> duration = std::nullopt);
    // Placements as in OverlayTransform; the visibility on screen is kept.
    void placeUpperRight(float slideAspect, float canvas, float scale, float paddingFraction,
                         std::optional<double> duration = std::nullopt);
    void placeCentered(float slideAspect, float canvas, float scale,
                       std::optional<double> duration = std::nullopt, EasingCurve curve = nullptr);
    // Goes to the centre when the target is within the bias's radius of it and not there already,
    // and says whether it does.
    bool settleToCenterIfNearby(std::optional<double> duration = std::nullopt,
                                EasingCurve curve = nullptr);
    // Swells by `magnitude` (part of the scale), decaying by `decayRate` per second.
    void triggerConfirmationPulse(float magnitude, float decayRate);

    void setBiasConfig(const BiasConfig& config);
    BiasConfig currentBiasConfig() const;
    void setFillScale(float scale);
    float fillScale() const;
    void setTiltConfig(const TiltConfig& config);
    void setOpacityConfig(const OpacityConfig& config);

    // Once a frame: moves the velocity, the tilt and the pulse on to now.
    OverlaySnapshot snapshot();

private:
    struct State {
        explicit State(const OverlayTransform& initial) : animation{.target = initial} {}

        TransformAnimation animation;
        BiasConfig biasConfig;
        float fillScale = 1;
        TargetVelocity velocity;
        TiltSpring tilt;
        TiltConfig tiltConfig;
        std::optional<float> tiltDriveOverride;
        OpacityConfig opacityConfig;
        ConfirmationPulse pulse;
    };
    struct Frame;

    void retarget(State& state, const OverlayTransform& target, std::optional<double> duration,
                  EasingCurve curve, double now) const;
    void place(const OverlayTransform& placement, std::optional<double> duration,
               EasingCurve curve);

    const Clock& _clock;
    const double _defaultDuration;
    LockedCell<State> _state;
};

} // namespace lanternfly
