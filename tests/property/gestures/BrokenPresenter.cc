#include "property/gestures/BrokenPresenter.h"

#include <algorithm>

namespace lanternfly::test {

const BrokenPresenter::Frame& BrokenPresenter::next() {
    moveClock();
    _frame.poses.clear();
    _frame.showsPeaceSign = false;
    for (Hand& hand : _hands) {
        if (chance(0.04)) changeShape(hand);
        if (chance(0.9)) _frame.poses.push_back(seen(hand));
    }
    while (chance(0.04)) // somebody else's hand, or the same one found twice
        _frame.poses.push_back(seen(_hands[pick(2)]));
    if (chance(0.1)) std::reverse(_frame.poses.begin(), _frame.poses.end());
    return _frame;
}

void BrokenPresenter::changeShape(Hand& hand) {
    hand.shape = hand.shape != Shape::open ? Shape::open
                 : chance(0.8)             ? Shape::pinched
                                           : Shape::peaceSign;
}

HandPose BrokenPresenter::seen(Hand& hand) {
    hand.place += float2{real(-0.05f, 0.05f), real(-0.05f, 0.05f)};
    hand.place = glm::clamp(hand.place, float2{0}, float2{1});
    PinchHand pinch{.chirality =
                        chance(0.97) ? hand.chirality : static_cast<HandPose::Chirality>(pick(3)),
                    .at = chance(0.98) ? hand.place : float2{0.5f, 0.5f},
                    .ratio = hand.shape == Shape::pinched ? real(0, 0.3f) : real(0.3f, 2),
                    .size = chance(0.97) ? real(0.05f, 0.4f) : real(0, 0.0002f),
                    .confidence = chance(0.95) ? real(0.4f, 1) : real(0, 0.5f),
                    .arrivedAtUptimeNanos = arrival()};
    HandPose pose = pinch.pose();
    if (hand.shape == Shape::peaceSign) {
        _frame.showsPeaceSign = true;
        const float2 wrist = position(jointOf(pose, HandLandmark::wrist));
        const auto place = [&](HandLandmark landmark, float x, float y) {
            pose.landmarks.set(landmark, {wrist.x + x, wrist.y + y, pinch.confidence});
        };
        for (const HandLandmark pip : {HandLandmark::indexPIP, HandLandmark::middlePIP,
                                       HandLandmark::ringPIP, HandLandmark::pinkyPIP})
            place(pip, 0, 0.2f);
        for (const HandLandmark tip : {HandLandmark::indexTip, HandLandmark::middleTip})
            place(tip, 0.2f, 0.3f);
        for (const HandLandmark tip : {HandLandmark::ringTip, HandLandmark::pinkyTip})
            place(tip, 0, 0.15f);
    }
    if (chance(0.05)) breakJoint(pose);
    return pose;
}

} // namespace lanternfly::test
