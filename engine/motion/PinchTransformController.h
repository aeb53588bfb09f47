// Turns one-hand pinch events into placements of the overlay: it follows the hand through a
// spring, sticks to the centre, keeps to its limits and glides on when it is let go.
// Threads: bound to the queue that delivers pinch events; callbacks run there. isSessionActive()
// and latencyReadout() are safe.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "base/LockedCell.h"
#include "base/Logger.h"
#include "gestures/PinchEvent.h"
#include "motion/AppearanceDriver.h"
#include "motion/PinchMotion.h"
#include "store/TrackingConfig.h"

namespace lanternfly {

class PinchTransformController {
public:
    struct Configuration {
        float positionGainX = 1; // overlay's way ÷ hand's way
        float positionGainY = 1;
        float scaleGain = 1.5f;
        float scaleGainCurve = 1.5f;      // added while the hand grows
        ClosedRange positionClamp{-1, 1}; // each axis
        ClosedRange scaleClamp{0.25f, 1.4f};
        float scaleRubberBand = 0.15f;       // overshoot of scaleClamp; 0 or less: none
        float centerAnchorRadius = 0.08f;    // a pinch begun so close to the centre sticks there
        float centerAnchorBreakaway = 0.06f; // until the hand has gone so far

        static const Configuration defaults;
        friend bool operator==(const Configuration&, const Configuration&) = default;
    };
    // From the arrival of the camera frame to the target that it led to.
    struct LatencyReadout {
        double instantMs;
        double smoothedMs;
        friend bool operator==(const LatencyReadout&, const LatencyReadout&) = default;
    };
    using Callback = std::function<void()>;
    using TargetCallback = std::function<void(const OverlayTransform&)>;

    // The driver is held weakly; without it events do nothing.
    PinchTransformController(const Clock& clock, std::weak_ptr<AppearanceDriver> driver,
                             const Configuration& configuration = Configuration::defaults);

    const Configuration& configuration() const { return _configuration; }
    // Ignored when a number in it is not finite or absurdly large; limits may be infinite.
    void setConfiguration(const Configuration& configuration);
    // Locked, no new session begins; one that runs goes on.
    bool isLocked() const { return _isLocked; }
    void setLocked(bool locked) { _isLocked = locked; }
    void setOnSessionStarted(Callback callback) { _onSessionStarted = std::move(callback); }
    void setOnSessionEnded(Callback callback) { _onSessionEnded = std::move(callback); }
    void setOnTargetChanged(TargetCallback callback) { _onTargetChanged = std::move(callback); }
    // Takes the spring, the pulse and the release time; ignored like a bad configuration.
    void setTrackingConfig(const TrackingConfig& config);

    // An event with a number that is not finite, or absurdly large, is ignored.
    void handle(const PinchEvent& event);
    // Drops the session, without a callback or a target.
    void reset();

    bool isSessionActive() const { return _sessionActive.get(); }
    // Absent until the first measurement.
    std::optional<LatencyReadout> latencyReadout() const { return _latency.get(); }

private:
    // While a pinch is held.
    struct Session {
        float2 startSlidePosition;
        float startSlideScale;
        float2 startHandPosition;
        bool positionAnchored;
        FollowSpring spring;
        double lastIntegratedAt; // media clock seconds
    };

    void begin(AppearanceDriver& driver, const PinchBegan& event);
    void change(AppearanceDriver& driver, const PinchChanged& event);
    void end(AppearanceDriver& driver);
    float2 handTarget(Session& session, float2 at) const;
    void integrate(Session& session, float2 target) const;
    void measureLatency(uint64_t arrivedAtUptimeNanos);

    const Clock& _clock;
    Configuration _configuration;
    Callback _onSessionEnded;
    Callback _onSessionStarted;
    TargetCallback _onTargetChanged;
    bool _isLocked = false;
    std::weak_ptr<AppearanceDriver> _driver;
    Logger _log{"PinchTransformController"};
    std::optional<Session> _session;
    TrackingConfig _tracking = TrackingConfig::defaults;
    LockedCell<bool> _sessionActive{false};
    LockedCell<std::optional<LatencyReadout>> _latency;
};

inline constexpr PinchTransformController::Configuration
    PinchTransformController::Configuration::defaults{};

} // namespace lanternfly
