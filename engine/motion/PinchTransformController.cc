#include "motion/PinchTransformController.h"

#include <cmath>

#include "base/Match.h"
#include "motion/Plausible.h"

namespace lanternfly {

namespace {

constexpr double settleSeconds = 0.28;
constexpr double latencyAlpha = 0.2;

// Limits may be infinite: then there are none.
bool isRange(const ClosedRange& range) {
    return !std::isnan(range.lower) && !std::isnan(range.upper);
}

bool isPlausible(const PinchTransformController::Configuration& configuration) {
    const auto& c = configuration;
    for (const float value : {c.positionGainX, c.positionGainY, c.scaleGain, c.scaleGainCurve,
                              c.scaleRubberBand, c.centerAnchorRadius, c.centerAnchorBreakaway})
        if (!lanternfly::isPlausible(value)) return false;
    return isRange(c.positionClamp) && isRange(c.scaleClamp);
}

bool isPlausible(const PinchEvent& event) {
    return match(
        event, [](const PinchBegan& began) { return lanternfly::isPlausible(began.at); },
        [](const PinchChanged& changed) {
            return lanternfly::isPlausible(changed.at) &&
                   lanternfly::isPlausible(changed.scaleDelta);
        },
        [](const PinchEnded&) { return true; });
}

} // namespace

PinchTransformController::PinchTransformController(const Clock& clock,
                                                   std::weak_ptr<AppearanceDriver> driver,
                                                   const Configuration& configuration)
    : _clock(clock), _driver(std::move(driver)) {
    setConfiguration(configuration);
}

void PinchTransformController::setConfiguration(const Configuration& configuration) {
    if (isPlausible(configuration)) _configuration = configuration;
}

void PinchTransformController::setTrackingConfig(const TrackingConfig& config) {
    if (areFieldsPlausible(config)) _tracking = config;
}

void PinchTransformController::reset() {
    _session.reset();
    _sessionActive.set(false);
}

void PinchTransformController::handle(const PinchEvent& event) {
    const auto driver = _driver.lock();
    if (!driver) return;
    if (!isPlausible(event)) {
        _log.debug("ignored a pinch event whose numbers are not finite");
        return;
    }
    match(
        event, [&](const PinchBegan& began) { begin(*driver, began); },
        [&](const PinchChanged& changed) { change(*driver, changed); },
        [&](const PinchEnded&) { end(*driver); });
}

void PinchTransformController::begin(AppearanceDriver& driver, const PinchBegan& event) {
    if (_isLocked) return;
    const auto current = driver.currentTransform();
    const float radius = _configuration.centerAnchorRadius;
    _session = Session{
        .startSlidePosition = current.position,
        .startSlideScale = current.scale,
        .startHandPosition = event.at,
        .positionAnchored = radius > 0 && glm::length(current.position) < radius,
        .spring = {current.position, {0, 0}},
        .lastIntegratedAt = _clock.mediaSeconds(),
    };
    _sessionActive.set(true);
    if (_tracking.pulseMagnitude > 0)
        driver.triggerConfirmationPulse(_tracking.pulseMagnitude, _tracking.pulseDecayRate);
    if (_onSessionStarted) _onSessionStarted();
}

void PinchTransformController::change(AppearanceDriver& driver, const PinchChanged& event) {
    if (!_session) return;
    integrate(*_session, handTarget(*_session, event.at));
    const float raw = PinchMotion::scaled(_session->startSlideScale, event.scaleDelta,
                                          _configuration.scaleGain, _configuration.scaleGainCurve);
    const OverlayTransform target{
        .position = _session->spring.position,
        .scale = PinchMotion::rubberBanded(raw, _configuration.scaleClamp,
                                           _configuration.scaleRubberBand),
        .visibility = driver.currentTransform().visibility,
    };
    if (!lanternfly::isPlausible(target)) return;
    driver.setTransformTarget(target, 0);
    if (_onTargetChanged) _onTargetChanged(target);
    measureLatency(event.arrivedAtUptimeNanos);
}

// Where the hand wants the overlay; breaks the anchor once the hand has gone far enough.
float2 PinchTransformController::handTarget(Session& session, float2 at) const {
    const float2 gain{_configuration.positionGainX, _configuration.positionGainY};
    float2 delta = (at - session.startHandPosition) * gain;
    if (session.positionAnchored) {
        const float breakaway = _configuration.centerAnchorBreakaway;
        const float way = glm::length(delta);
        if (way >= breakaway)
            session.positionAnchored = false;
        else if (way <= 0 || breakaway <= 0)
            return session.startSlidePosition;
        else
            delta = PinchMotion::creptOut(delta, breakaway);
    }
    return _configuration.positionClamp.clamp(session.startSlidePosition + delta);
}

void PinchTransformController::integrate(Session& session, float2 target) const {
    const double now = _clock.mediaSeconds();
    if (_tracking.springStiffness > 0)
        session.spring = session.spring.after(now - session.lastIntegratedAt, target,
                                              _tracking.springStiffness, _tracking.springDamping);
    else
        session.spring = {target, {0, 0}};
    session.lastIntegratedAt = now;
}

void PinchTransformController::measureLatency(uint64_t arrivedAtUptimeNanos) {
    const uint64_t now = _clock.uptimeNanos();
    if (arrivedAtUptimeNanos == 0 || arrivedAtUptimeNanos > now) return;
    const double instantMs = static_cast<double>(now - arrivedAtUptimeNanos) / 1'000'000;
    _latency.withLock([&](std::optional<LatencyReadout>& latency) {
        const double smoothedMs =
            latency ? (1 - latencyAlpha) * latency->smoothedMs + latencyAlpha * instantMs
                    : instantMs;
        latency = {instantMs, smoothedMs};
    });
}

void PinchTransformController::end(AppearanceDriver& driver) {
    const auto session = _session;
    reset();
    if (!session) return;

    const float2 thrown =
        PinchMotion::thrown(session->spring.velocity, _tracking.releaseEaseSeconds);
    if (thrown != float2{0, 0}) {
        auto target = driver.currentTransform();
        target.position += thrown;
        driver.setTransformTarget(target, _tracking.releaseEaseSeconds, Easing::releaseSpring);
    }
    driver.settleToCenterIfNearby(settleSeconds, Easing::releaseSpring);

    auto current = driver.currentTransform();
    if (!_configuration.scaleClamp.contains(current.scale)) {
        current.scale = _configuration.scaleClamp.clamp(current.scale);
        driver.setTransformTarget(current, settleSeconds, Easing::releaseSpring);
    }
    if (_onSessionEnded) _onSessionEnded();
}

} // namespace lanternfly
