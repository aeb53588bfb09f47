// Static hand shapes, held for a moment, as one-shot events. One shape is known: the peace sign,
// index and middle finger extended, ring and little finger curled.
// Threads: bound to the queue that calls process(); the callback runs there.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>

#include "base/Clock.h"
#include "base/Logger.h"
#include "gestures/HandPose.h"

namespace lanternfly {

class HandGestureRecognizer {
public:
    enum class Event : uint8_t { peaceSign };

    struct Parameters {
        double holdSeconds = 0.2;     // seen for so long without a gap before the event fires
        double unlatchSeconds = 0.1;  // absent for so long before it may fire again
        float extensionRatio = 1.15f; // tip to wrist ÷ PIP to wrist above it: finger extended
        float minLandmarkConfidence = 0.4f;

        static const Parameters defaults;
        friend bool operator==(const Parameters&, const Parameters&) = default;
    };

    using EventCallback = std::function<void(Event)>;

    explicit HandGestureRecognizer(const Clock& clock,
                                   const Parameters& parameters = Parameters::defaults);

    void setEventCallback(EventCallback callback) { _eventCallback = std::move(callback); }
    void setParameters(const Parameters& parameters) { _parameters = parameters; }
    // While suppressed nothing is recognised and nothing is forgotten: a pinching hand must not
    // fire a gesture. The host switches it with the pinch sessions.
    void setSuppressed(bool isSuppressed);
    // Every event back to idle, suppression lifted.
    void reset();
    // Once per processed camera frame, with all hands of the frame.
    void process(std::span<const HandPose> poses);

private:
    static constexpr std::array allEvents{Event::peaceSign};

    // Idle without `holdingSinceNanos`, holding with it, latched after firing.
    struct Progress {
        std::optional<uint64_t> holdingSinceNanos;
        std::optional<uint64_t> lastDetectedAtNanos;
        bool isLatched = false;
    };

    bool isDetected(Event event, std::span<const HandPose> poses) const;
    bool isPeaceSign(const HandPose& pose) const;
    std::optional<bool> isExtended(const HandPose& pose, HandLandmark tip, HandLandmark pip) const;
    // True when the event fires now.
    bool advance(Progress& progress, bool isDetected, uint64_t nowNanos) const;

    const Clock& _clock;
    Parameters _parameters;
    EventCallback _eventCallback;
    const Logger _log{"HandGesture"};
    std::optional<uint64_t> _lastSuppressedLogAtNanos;
    std::array<Progress, allEvents.size()> _progress;
    bool _isSuppressed = false;
};

inline constexpr HandGestureRecognizer::Parameters HandGestureRecognizer::Parameters::defaults{};

} // namespace lanternfly
