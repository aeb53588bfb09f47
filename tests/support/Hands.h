// Builds hands whose pinch is known exactly.
// Threads: value.
#pragma once

#include "base/Vectors.h"
#include "gestures/HandPose.h"

namespace lanternfly::test {

// The joint's point; all zero when it has none.
inline HandPose::Point jointOf(const HandPose& pose, HandLandmark landmark) {
    const HandPose::Point* point = pose.landmarks.find(landmark);
    return point ? *point : HandPose::Point{};
}

// An upright hand: middle knuckle straight above the wrist, thumb tip and index tip side by side
// around the pinch point.
struct PinchHand {
    HandPose::Chirality chirality = HandPose::Chirality::right;
    float2 at{0.5f, 0.5f};
    float ratio = 0.2f; // thumb tip to index tip ÷ size
    float size = 0.2f;  // wrist to middle knuckle
    float confidence = 0.9f;
    MediaTime pts = MediaTime::invalid();
    uint64_t arrivedAtUptimeNanos = 0;

    HandPose pose() const {
        HandPose hand;
        hand.chirality = chirality;
        const float2 wrist{at.x, at.y - 0.3f};
        const auto place = [&](HandLandmark landmark, float2 point) {
            hand.landmarks.set(landmark, {point.x, point.y, confidence});
        };
        place(HandLandmark::wrist, wrist);
        place(HandLandmark::middleMCP, wrist + float2{0, size});
        place(HandLandmark::thumbTip, at - float2{0.5f * ratio * size, 0});
        place(HandLandmark::indexTip, at + float2{0.5f * ratio * size, 0});
        hand.averageConfidence = confidence;
        hand.pts = pts;
        hand.arrivedAtUptimeNanos = arrivedAtUptimeNanos;
        return hand;
    }
};

// An upright hand that shows index and middle finger.
inline HandPose peaceSignHand() {
    HandPose hand;
    const auto place = [&](HandLandmark landmark, float y) {
        hand.landmarks.set(landmark, {0.5f, 0.2f + y, 0.9f});
    };
    place(HandLandmark::wrist, 0);
    for (const auto pip : {HandLandmark::indexPIP, HandLandmark::middlePIP, HandLandmark::ringPIP,
                           HandLandmark::pinkyPIP})
        place(pip, 0.2f);
    for (const auto extended : {HandLandmark::indexTip, HandLandmark::middleTip})
        place(extended, 0.36f);
    for (const auto curled : {HandLandmark::ringTip, HandLandmark::pinkyTip})
        place(curled, 0.18f);
    return hand;
}

} // namespace lanternfly::test
