#include "platform/fake/ScriptedHandPoseDetector.h"

#include "contract/hand_pose_detector/HandPoseDetectorContract.h"

namespace lanternfly::test {
namespace {

HandObservation scriptedHand(HandObservation::Chirality chirality, float x) {
    HandObservation hand;
    hand.chirality = chirality;
    for (size_t i = 0; i < hand.points.size(); i += 2)
        hand.points[i] = HandObservation::Point{x, static_cast<float>(i) / 20, 1 - x};
    return hand;
}

std::unique_ptr<HandPoseDetector> makeScripted() {
    auto script = std::make_shared<HandPoseScript>();
    const auto left = scriptedHand(HandObservation::Chirality::left, 0.25f);
    const auto right = scriptedHand(HandObservation::Chirality::right, 1);
    script->add({.hands = {left, right}});
    script->add({});
    script->add({.hands = {right}});
    return std::make_unique<ScriptedHandPoseDetector>(std::move(script));
}

INSTANTIATE_TEST_SUITE_P(Scripted, HandPoseDetectorContract,
                         testing::Values(HandPoseDetectorCase{"Scripted", makeScripted}),
                         nameOfCase);

} // namespace
} // namespace lanternfly::test
