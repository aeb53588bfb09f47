// What the recognizers made of recorded hands, frame by frame.
// Threads: value.
#pragma once

#include <optional>
#include <vector>

#include "app/inspect/HandReading.h"
#include "gestures/HandGestureRecognizer.h"
#include "gestures/PinchRecognizer.h"
#include "gestures/TwoHandPinchRecognizer.h"
#include "tracks/PoseTrack.h"

namespace lanternfly {

struct TimelineFrame {
    double seconds = 0;
    bool isLookedAt = true;
    std::vector<HandReading> hands{};
    // After the frame.
    PinchRecognizer::Phase phase = PinchRecognizer::Phase::idle;
    std::optional<float> smoothedRatio{};
    bool isTwoHandPinch = false;
    // Of the slide, in the canvas space of OverlayTransform: where the hand wants it, or the motion
    // when no hand holds it, and where it is seen.
    float2 target{0, 0}, position{0, 0};
    float scale = 0;
    double detectionMs = 0, latencyMs = 0; // 0: not known

    bool isPinch() const {
        return phase == PinchRecognizer::Phase::pinching ||
               phase == PinchRecognizer::Phase::releasing;
    }
};

struct TimelineEvent {
    GestureEvent event = GestureEvent::pinchBegan;
    double seconds = 0; // of the frame that told it

    friend bool operator==(const TimelineEvent&, const TimelineEvent&) = default;
};

struct GestureTimeline {
    PoseTrackHeader header;
    PinchRecognizer::Parameters pinch;
    TwoHandPinchRecognizer::Parameters twoHands;
    HandGestureRecognizer::Parameters signs;
    std::vector<TimelineFrame> frames;
    std::vector<TimelineEvent> events;
};

} // namespace lanternfly
