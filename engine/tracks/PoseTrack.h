// A recording of hands: what a detector saw in each picture of a camera, and what should come of
// it. As a file it is lines of JSON, described in docs/tracks.md.
// Threads: value.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "gestures/HandPose.h"

namespace lanternfly {

// What the recognizers must tell: nothing less, nothing else.
enum class GestureEvent : uint8_t { pinchBegan, pinchEnded, twoHandBegan, twoHandEnded, peaceSign };

// "pinch began", "two-hand ended", "peace sign" …
const char* nameOf(GestureEvent event);

struct ExpectedEvent {
    GestureEvent event = GestureEvent::pinchBegan;
    double seconds = 0;
    int toleranceFrames = 0; // it may come so much later, or one frame earlier

    friend bool operator==(const ExpectedEvent&, const ExpectedEvent&) = default;
};

struct PoseTrackHeader {
    int widthPX = 1280, heightPX = 720; // of the pictures
    double frameRate = 30;              // nominal; frames carry their own times
    std::string about{};
    std::optional<std::vector<ExpectedEvent>> expected{}; // absent: nothing is said

    friend bool operator==(const PoseTrackHeader&, const PoseTrackHeader&) = default;
};

struct PoseTrackFrame {
    double seconds = 0; // rising from frame to frame
    // False for a frame that the detector had no time for; it says nothing about hands.
    bool isLookedAt = true;
    // `pts` is the frame's time; arrival times are those of another day and left at 0.
    std::vector<HandPose> poses{};
    double detectionMs = 0; // 0: not known
    double latencyMs = 0;   // from the frame's arrival until its hands were told; 0: not known

    friend bool operator==(const PoseTrackFrame&, const PoseTrackFrame&) = default;
};

struct PoseTrack {
    PoseTrackHeader header;
    std::vector<PoseTrackFrame> frames{};
    std::string note{}; // what was wrong with the file, in a sentence; empty for a whole one

    friend bool operator==(const PoseTrack&, const PoseTrack&) = default;
};

namespace PoseTrackLimits {
inline constexpr size_t lineBytes = 64 * 1024;
inline constexpr size_t hands = 8;           // in a frame
inline constexpr size_t frames = 500'000;    // over four hours at 30 a second
inline constexpr size_t expected = 500;      // events
inline constexpr double seconds = 1'000'000; // to the nanosecond in a double
inline constexpr double frameRate = 1000;
inline constexpr double milliseconds = 1'000'000;
inline constexpr float place = 8; // picture widths, as measurablePoint()
inline constexpr int sidePX = 16384;
} // namespace PoseTrackLimits

} // namespace lanternfly
