// One-hand pinch: picks the hand to follow, measures thumb tip to index tip against the size of
// the hand, and turns the ratio into began, changed and ended through enter/exit hysteresis and
// time holds.
// Threads: bound to the queue that calls process(); the callback runs there, at most once a call.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <variant>

#include "base/Clock.h"
#include "base/Logger.h"
#include "capture/telemetry/TrackingTelemetry.h"
#include "gestures/HandPose.h"
#include "gestures/OneEuroFilter.h"
#include "gestures/PinchEvent.h"
#include "store/TrackingConfig.h"

namespace lanternfly {

class PinchRecognizer {
public:
    // Least confidence of each joint that the measurement uses.
    struct LandmarkConfidenceFloors {
        float thumbTip = 0.4f;
        float indexTip = 0.4f;
        float wrist = 0.15f;
        float middleMCP = 0.15f;

        static const LandmarkConfidenceFloors defaults;
        friend bool operator==(const LandmarkConfidenceFloors&,
                               const LandmarkConfidenceFloors&) = default;
    };

    struct Parameters {
        float pinchEnterRatio = 0.30f;         // at or below it a pinch starts, and resumes
        float pinchExitRatio = 0.35f;          // above it a pinch starts to release
        double armingHoldSeconds = 0.06;       // at or below enter for so long before `began`
        double releaseHoldSeconds = 0.04;      // a release lasts so long before `ended`
        double noPoseHardTimeoutSeconds = 1.5; // a pinch outlives its hand for so long
        LandmarkConfidenceFloors confidenceFloors;
        float engagedFloorRelaxation = 0.1f; // off every floor while pinching or releasing
        float positionFilterMinCutoff = 1.5f;
        float positionFilterBeta = 0.05f;
        float sizeFilterMinCutoff = 1.0f;
        float sizeFilterBeta = 0.02f;
        double predictionSeconds = 0.015;     // look-ahead of the pinch point; 0 or less: none
        float predictionVelocityFloor = 0.2f; // per second; slower hands are not predicted

        static const Parameters defaults;
        friend bool operator==(const Parameters&, const Parameters&) = default;
    };

    using EventCallback = std::function<void(const PinchEvent&)>;

    explicit PinchRecognizer(const Clock& clock,
                             const Parameters& parameters = Parameters::defaults);

    void setEventCallback(EventCallback callback) { _eventCallback = std::move(callback); }
    void setTelemetry(std::shared_ptr<TrackingTelemetry> telemetry) {
        _telemetry = std::move(telemetry);
    }
    const Parameters& parameters() const { return _parameters; }
    // Takes over the tuning; a pinch that is going on goes on, with the filters' memory.
    void setTrackingConfig(const TrackingConfig& config);
    // Back to idle, filters cold. Emits nothing.
    void reset();
    // Once per processed camera frame, with all hands of the frame.
    void process(std::span<const HandPose> poses);

    // What the last frame led to, for whoever explains it to the user.
    enum class Phase : uint8_t { idle, arming, pinching, releasing };
    Phase phase() const;
    // Thumb tip to index tip ÷ hand size of the followed hand, smoothed: what the last frame was
    // decided by. Absent when no hand was followed or it could not be measured.
    std::optional<float> ratio() const { return _ratio; }

private:
    struct Arming {
        uint64_t sinceNanos; // uptime
        HandPose::Chirality chirality;
    };
    struct Pinching {
        HandPose::Chirality chirality;
        float startSize;
        uint64_t lastSeenAtNanos;
    };
    struct Releasing {
        HandPose::Chirality chirality;
        float startSize;
        uint64_t sinceNanos;
    };
    struct Idle {};
    using State = std::variant<Arming, Pinching, Releasing, Idle>;

    enum class Mode { probing, following };
    struct Measurement {
        float2 midpoint;
        float distance; // thumb tip to index tip
        float size;     // wrist to middle MCP
    };

    std::optional<PinchEvent> step(Idle, std::span<const HandPose> poses, uint64_t nowNanos);
    std::optional<PinchEvent> step(Arming arming, std::span<const HandPose> poses,
                                   uint64_t nowNanos);
    std::optional<PinchEvent> step(Pinching pinching, std::span<const HandPose> poses,
                                   uint64_t nowNanos);
    std::optional<PinchEvent> step(Releasing releasing, std::span<const HandPose> poses,
                                   uint64_t nowNanos);

    std::optional<Measurement> measure(const HandPose& pose, Mode mode, uint64_t nowNanos);
    std::optional<Measurement> follow(const HandPose& pose, uint64_t nowNanos);
    const HandPose* followedHand(std::span<const HandPose> poses,
                                 HandPose::Chirality chirality) const;
    float2 predicted(float2 midpoint) const;
    bool isAtOrBelowEnter(const Measurement& measurement) const;
    bool isAboveExit(const Measurement& measurement) const;
    bool isEngaged() const;
    void resetTracking();

    const Clock& _clock;
    Parameters _parameters;
    Logger _log{"PinchRecognizer"};
    EventCallback _eventCallback;
    std::shared_ptr<TrackingTelemetry> _telemetry;
    State _state = Idle{};
    std::optional<float2> _lastTrackedMidpoint;
    std::optional<float> _ratio;
    OneEuroFilter2D _thumbTipFilter, _indexTipFilter, _wristFilter, _middleMCPFilter;
    OneEuroFilter _sizeFilter;
};

inline constexpr PinchRecognizer::LandmarkConfidenceFloors
    PinchRecognizer::LandmarkConfidenceFloors::defaults{};
inline constexpr PinchRecognizer::Parameters PinchRecognizer::Parameters::defaults{};

} // namespace lanternfly
