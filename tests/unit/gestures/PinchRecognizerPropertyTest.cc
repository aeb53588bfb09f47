// What holds for any sequence of frames, however broken.
#include "gestures/PinchRecognizer.h"

#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "base/Match.h"
#include "support/BrokenFrames.h"
#include "support/LogCapture.h"

namespace lanternfly {
namespace {

using test::PinchHand;

// One presenter's hand, seldom more, that pinches, opens and wanders.
class BrokenFrames : test::FrameBreaker {
public:
    using FrameBreaker::FrameBreaker;

    std::vector<HandPose> next() {
        moveClock();
        if (chance(0.1)) _isPinched = !_isPinched;
        std::vector<HandPose> poses;
        const int count = chance(0.85) ? 1 : static_cast<int>(pick(4));
        for (int i = 0; i < count; ++i)
            poses.push_back(hand());
        return poses;
    }

private:
    HandPose hand() {
        PinchHand hand;
        hand.chirality = static_cast<HandPose::Chirality>(chance(0.9) ? 1 : pick(3));
        _place += float2{real(-0.05f, 0.05f), real(-0.05f, 0.05f)};
        _place = glm::clamp(_place, float2{0}, float2{1});
        hand.at = _place;
        hand.ratio = _isPinched ? real(0, 0.3f) : real(0.2f, 2);
        hand.size = chance(0.95) ? real(0.05f, 0.4f) : real(0, 0.0002f);
        hand.confidence = chance(0.9) ? real(0.4f, 1) : real(0, 0.5f);
        hand.arrivedAtUptimeNanos = arrival();
        HandPose pose = hand.pose();
        if (chance(0.1)) breakJoint(pose);
        return pose;
    }

    bool _isPinched = false;
    float2 _place{0.5f, 0.5f};
};

class PinchRecognizerProperty : public testing::TestWithParam<uint32_t> {};

TEST_P(PinchRecognizerProperty, AnyFramesGiveWellFormedFiniteEvents) {
    const test::LogCapture quiet;
    ManualClock clock;
    const auto telemetry = std::make_shared<TrackingTelemetry>(clock);
    PinchRecognizer recognizer(clock);
    recognizer.setTelemetry(telemetry);

    bool isOpen = false;
    int eventsThisFrame = 0, begans = 0, changes = 0, ends = 0;
    const auto isSane = [](float2 at) { // the prediction adds little to a place near the picture
        return std::fabs(at.x) < 100 && std::fabs(at.y) < 100;
    };
    recognizer.setEventCallback([&](const PinchEvent& event) {
        ++eventsThisFrame;
        match(
            event,
            [&](const PinchBegan& began) {
                EXPECT_FALSE(isOpen) << "began inside a pinch";
                EXPECT_TRUE(isSane(began.at));
                isOpen = true;
                ++begans;
            },
            [&](const PinchChanged& changed) {
                EXPECT_TRUE(isOpen) << "changed outside a pinch";
                EXPECT_TRUE(isSane(changed.at));
                EXPECT_TRUE(std::isfinite(changed.scaleDelta) && changed.scaleDelta > 0);
                ++changes;
            },
            [&](const PinchEnded&) {
                EXPECT_TRUE(isOpen) << "ended outside a pinch";
                isOpen = false;
                ++ends;
            });
    });

    BrokenFrames frames(GetParam(), clock);
    for (int i = 0; i < 4000 && !testing::Test::HasFailure(); ++i) {
        eventsThisFrame = 0;
        recognizer.process(frames.next());
        EXPECT_LE(eventsThisFrame, 1);
    }
    const auto confidence = telemetry->readout().landmarkConfidence;
    ASSERT_TRUE(confidence);
    EXPECT_TRUE(std::isfinite(*confidence));
    // The frames must have reached every state, else nothing was shown.
    EXPECT_GT(begans, 20);
    EXPECT_GT(changes, 200);
    EXPECT_GT(ends, 20);

    // Whatever happened, a calm hand works again.
    recognizer.reset();
    isOpen = false;
    begans = 0;
    for (int i = 0; i < 4; ++i) {
        clock.advance(0.03);
        recognizer.process(std::vector{PinchHand{}.pose()});
    }
    EXPECT_EQ(begans, 1);
}

INSTANTIATE_TEST_SUITE_P(Seeds, PinchRecognizerProperty, testing::Range(1u, 26u));

} // namespace
} // namespace lanternfly
