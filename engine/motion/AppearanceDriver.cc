#include "motion/AppearanceDriver.h"

#include "motion/Plausible.h"
#include "motion/ScaleEnvelope.h"
#include "motion/TransformBias.h"

namespace lanternfly {

// What one frame takes out of the lock.
struct AppearanceDriver::Frame {
    OverlayTransform transform;
    float2 velocity;
    float2 tiltDegrees;
    BiasConfig biasConfig;
    float fillScale;
    OpacityConfig opacityConfig;
    float pulse;
};

AppearanceDriver::AppearanceDriver(const Clock& clock, const OverlayTransform& initial,
                                   double defaultDuration)
    : _clock(clock), _defaultDuration(defaultDuration),
      _state(State(isPlausible(initial) ? initial : OverlayTransform::day4Default)) {}

void AppearanceDriver::setTransformTarget(const OverlayTransform& transform,
                                          std::optional<double> duration, EasingCurve curve,
                                          std::optional<float> tiltDriveOverride) {
    const double now = _clock.mediaSeconds();
    if (tiltDriveOverride && !isPlausible(*tiltDriveOverride)) tiltDriveOverride.reset();
    _state.withLock([&](State& state) {
        if (!isPlausible(transform)) return;
        retarget(state, transform, duration, curve, now);
        state.tiltDriveOverride = tiltDriveOverride;
    });
}

void AppearanceDriver::retarget(State& state, const OverlayTransform& target,
                                std::optional<double> duration, EasingCurve curve,
                                double now) const {
    state.animation.retarget(target, duration.value_or(_defaultDuration),
                             curve ? curve : Easing::easeInOut, now);
    state.tiltDriveOverride.reset();
}

OverlayTransform AppearanceDriver::currentTarget() const {
    return _state.withLock([](const State& state) { return state.animation.target; });
}

OverlayTransform AppearanceDriver::currentTransform() const {
    const double now = _clock.mediaSeconds();
    return _state.withLock([&](const State& state) { return state.animation.at(now); });
}

OverlayTransform AppearanceDriver::currentBiasedTransform() const {
    const double now = _clock.mediaSeconds();
    return _state.withLock([&](const State& state) {
        return TransformBias::apply(state.animation.at(now), state.biasConfig, state.fillScale);
    });
}

void AppearanceDriver::toggleVisibility(std::optional<double> duration) {
    const double now = _clock.mediaSeconds();
    _state.withLock([&](State& state) {
        OverlayTransform target = state.animation.target;
        target.visibility = target.visibility > 0.5f ? 0 : 1;
        retarget(state, target, duration, nullptr, now);
    });
}

void AppearanceDriver::placeUpperRight(float slideAspect, float canvas, float scale,
                                       float paddingFraction, std::optional<double> duration) {
    place(OverlayTransform::upperRight(slideAspect, canvas, scale, paddingFraction), duration,
          nullptr);
}

void AppearanceDriver::placeCentered(float slideAspect, float canvas, float scale,
                                     std::optional<double> duration, EasingCurve curve) {
    place(OverlayTransform::centered(slideAspect, canvas, scale), duration, curve);
}

void AppearanceDriver::place(const OverlayTransform& placement, std::optional<double> duration,
                             EasingCurve curve) {
    const double now = _clock.mediaSeconds();
    if (!isPlausible(placement)) return;
    _state.withLock([&](State& state) {
        OverlayTransform target = placement;
        target.visibility = state.animation.at(now).visibility;
        retarget(state, target, duration, curve, now);
    });
}

bool AppearanceDriver::settleToCenterIfNearby(std::optional<double> duration, EasingCurve curve) {
    const double now = _clock.mediaSeconds();
    return _state.withLock([&](State& state) {
        OverlayTransform target = state.animation.target;
        const float distance = glm::length(target.position);
        if (!(distance > 0 && distance < state.biasConfig.centerRadius)) return false;
        target.position = {0, 0};
        retarget(state, target, duration, curve, now);
        return true;
    });
}

void AppearanceDriver::triggerConfirmationPulse(float magnitude, float decayRate) {
    const double now = _clock.mediaSeconds();
    _state.withLock([&](State& state) { state.pulse.trigger(magnitude, decayRate, now); });
}

void AppearanceDriver::setBiasConfig(const BiasConfig& config) {
    if (!areFieldsPlausible(config)) return;
    _state.withLock([&](State& state) { state.biasConfig = config; });
}

BiasConfig AppearanceDriver::currentBiasConfig() const {
    return _state.withLock([](const State& state) { return state.biasConfig; });
}

void AppearanceDriver::setFillScale(float scale) {
    if (!isPlausible(scale)) return;
    _state.withLock([&](State& state) { state.fillScale = scale; });
}

float AppearanceDriver::fillScale() const {
    return _state.withLock([](const State& state) { return state.fillScale; });
}

void AppearanceDriver::setTiltConfig(const TiltConfig& config) {
    if (!areFieldsPlausible(config)) return;
    _state.withLock([&](State& state) { state.tiltConfig = config; });
}

void AppearanceDriver::setOpacityConfig(const OpacityConfig& config) {
    if (!areFieldsPlausible(config)) return;
    _state.withLock([&](State& state) { state.opacityConfig = config; });
}

OverlaySnapshot AppearanceDriver::snapshot() {
    const double now = _clock.mediaSeconds();
    const auto frame = _state.withLock([&](State& state) {
        const auto transform = state.animation.at(now);
        state.animation.settle(now);
        state.velocity.append(now, transform.position);
        const float2 velocity = state.velocity.estimate(now);
        const float drive = state.tiltDriveOverride.value_or(state.tiltConfig.drive);
        const float2 tilt = state.tilt.step(velocity, state.tiltConfig, drive, now);
        return Frame{transform,
                     velocity,
                     tilt,
                     state.biasConfig,
                     state.fillScale,
                     state.opacityConfig,
                     state.pulse.tick(now)};
    });

    auto transform = TransformBias::apply(frame.transform, frame.biasConfig, frame.fillScale);
    if (frame.pulse > 0) transform.scale *= 1 + frame.pulse;
    const float visibility = transform.visibility;
    const OverlayAppearance appearance{
        .opacity = visibility * ScaleEnvelope::opacityFactor(transform.scale, frame.opacityConfig),
        .blur = visibility * visibility * ScaleEnvelope::blur(transform.scale),
        .tiltX = frame.tiltDegrees.x,
        .tiltY = frame.tiltDegrees.y,
    };
    return {transform, appearance, frame.velocity};
}

} // namespace lanternfly
