// Both hands pinching at once: where they are, how far apart and how much nearer one is, from the
// moment both pinch until one of them has opened for longer than a drop-out lasts.
// Threads: bound to the queue that calls process(); the callback runs there, at most once a call.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>

#include "base/Clock.h"
#include "base/Logger.h"
#include "gestures/HandPose.h"
#include "gestures/OneEuroFilter.h"
#include "gestures/TwoHandPinchEvent.h"

namespace lanternfly {

class TwoHandPinchRecognizer {
public:
    // Looser than one hand's: both have to hold the pinch at the same time.
    struct Parameters {
        float pinchEnterRatio = 0.4f; // thumb tip to index tip ÷ hand size; up to it a pinch starts
        float pinchExitRatio = 0.65f;         // up to it a pinch goes on
        float landmarkConfidenceFloor = 0.3f; // of thumb tip and index tip

        static const Parameters defaults;
        friend bool operator==(const Parameters&, const Parameters&) = default;
    };

    using EventCallback = std::function<void(const TwoHandPinchEvent&)>;

    explicit TwoHandPinchRecognizer(const Clock& clock) : _clock(clock) {}

    const Parameters& parameters() const { return _parameters; }
    void setParameters(const Parameters& parameters) { _parameters = parameters; }
    void setEventCallback(EventCallback callback) { _eventCallback = std::move(callback); }
    // How long a session outlives the opening of a hand.
    double dropoutGraceSeconds() const { return _dropoutGraceSeconds; }
    // At least 0.
    void setDropoutGraceSeconds(double seconds);
    bool isSessionActive() const { return _session.has_value(); }
    // Whether the hand of that side pinches, or did when it was last seen.
    bool isPinching(HandPose::Chirality side) const {
        return side == HandPose::Chirality::left    ? _left.isPinching
               : side == HandPose::Chirality::right ? _right.isPinching
                                                    : false;
    }
    // Back to idle, both hands open, filters cold. Emits nothing.
    void reset();
    // Once per processed camera frame, with all hands of the frame. A hand that is not seen stays
    // as it was: it neither opens nor closes.
    void process(std::span<const HandPose> poses);

private:
    struct Measurement {
        float2 point;   // midway between thumb tip and index tip
        float distance; // thumb tip to index tip
        float size;     // wrist to middle MCP
    };
    struct Placement {
        float2 point;
        float size;
    };
    // What is remembered of one side.
    struct Hand {
        OneEuroFilter2D pointFilter{1.0f, 0.01f, 1.0f};
        // Depth comes from the sizes, so these must be steadier than quick.
        OneEuroFilter sizeFilter{0.2f, 0.002f, 1.0f};
        bool isPinching = false;

        void resetFilters();
        Placement place(const Measurement& measurement, double atSeconds);
    };
    struct Session {
        float2 leftStart, rightStart;
        float startDepthYaw;
        float startSeparation;
    };

    std::optional<TwoHandPinchEvent> step(std::span<const HandPose> poses);
    TwoHandPinchBegan begin(const Measurement& left, const Measurement& right,
                            const HandPose& leftPose);
    TwoHandPinchChanged change(const Session& session, const Measurement& left,
                               const Measurement& right, const HandPose& leftPose);
    TwoHandPinchEnded end(const HandPose* left, const HandPose* right);

    std::optional<Measurement> measure(const HandPose* pose) const;
    bool isPinching(bool wasPinching, const Measurement& measurement) const;

    const Clock& _clock;
    Parameters _parameters;
    const Logger _log{"TwoHandPinchRecognizer"};
    EventCallback _eventCallback;
    Hand _left, _right;
    std::optional<Session> _session;
    uint64_t _lastBothPinchingAtNanos = 0; // uptime
    double _dropoutGraceSeconds = 0.2;
    uint64_t _sustainFrameCounter = 0; // `changed` events of the session
};

inline constexpr TwoHandPinchRecognizer::Parameters TwoHandPinchRecognizer::Parameters::defaults{};

} // namespace lanternfly
