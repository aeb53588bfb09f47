// What holds for any sequence of frames, however broken.
#include "gestures/TwoHandPinchRecognizer.h"

#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "base/Match.h"
#include "support/BrokenFrames.h"
#include "support/LogCapture.h"

namespace lanternfly {
namespace {

using test::PinchHand;
using Chirality = HandPose::Chirality;

// Two hands that pinch and open, each on its own; seldom fewer or more, seldom of a flipped side.
class BrokenPairs : test::FrameBreaker {
public:
    using FrameBreaker::FrameBreaker;

    std::vector<HandPose> next() {
        moveClock();
        std::vector<HandPose> poses;
        for (Side& side : _sides) {
            if (chance(0.04)) side.isPinched = !side.isPinched;
            if (chance(0.95)) poses.push_back(hand(side));
        }
        if (chance(0.05)) poses.push_back(hand(_sides[pick(2)]));
        if (chance(0.1)) std::reverse(poses.begin(), poses.end());
        return poses;
    }

private:
    struct Side {
        Chirality chirality;
        float2 place;
        bool isPinched = false;
    };

    HandPose hand(Side& side) {
        side.place += float2{real(-0.05f, 0.05f), real(-0.05f, 0.05f)};
        side.place = glm::clamp(side.place, float2{0}, float2{1});
        PinchHand hand;
        hand.chirality = chance(0.95) ? side.chirality : static_cast<Chirality>(pick(3));
        hand.at = chance(0.98) ? side.place : float2{0.5f, 0.5f};
        hand.ratio = side.isPinched ? real(0, 0.5f) : real(0.3f, 2);
        hand.size = chance(0.95) ? real(0.05f, 0.4f) : real(0, 0.0002f);
        hand.confidence = chance(0.9) ? real(0.4f, 1) : real(0, 0.4f);
        hand.arrivedAtUptimeNanos = arrival();
        HandPose pose = hand.pose();
        if (chance(0.05)) breakJoint(pose);
        return pose;
    }

    Side _sides[2] = {{Chirality::left, {0.3f, 0.5f}}, {Chirality::right, {0.7f, 0.5f}}};
};

class TwoHandPinchRecognizerProperty : public testing::TestWithParam<uint32_t> {};

TEST_P(TwoHandPinchRecognizerProperty, AnyFramesGiveWellFormedFiniteEvents) {
    const test::LogCapture quiet;
    ManualClock clock;
    TwoHandPinchRecognizer recognizer(clock);

    bool isOpen = false;
    float yawStart = 0;
    int eventsThisFrame = 0, begans = 0, changes = 0, ends = 0;
    const auto isPlace = [](float2 at) { return std::fabs(at.x) <= 8 && std::fabs(at.y) <= 8; };
    const auto isYaw = [](float yaw) { return std::fabs(yaw) <= 15; }; // ln of 23 ÷ 0.0001 is 12
    recognizer.setEventCallback([&](const TwoHandPinchEvent& event) {
        ++eventsThisFrame;
        match(
            event,
            [&](const TwoHandPinchBegan& began) {
                EXPECT_FALSE(isOpen) << "began inside a pinch";
                EXPECT_TRUE(isPlace(began.midpoint));
                isOpen = true;
                yawStart = NAN;
                ++begans;
            },
            [&](const TwoHandPinchChanged& changed) {
                EXPECT_TRUE(isOpen) << "changed outside a pinch";
                EXPECT_TRUE(isPlace(changed.midpoint));
                EXPECT_TRUE(isYaw(changed.yawRadians) && isYaw(changed.yawStartRadians));
                EXPECT_TRUE(std::isfinite(changed.scaleRatio) && changed.scaleRatio >= 0);
                EXPECT_TRUE(isPlace({changed.leftDeltaY / 2, changed.rightDeltaY / 2}));
                EXPECT_TRUE(changed.separation >= 0 && changed.separation < 23);
                if (std::isnan(yawStart)) yawStart = changed.yawStartRadians;
                EXPECT_EQ(changed.yawStartRadians, yawStart) << "the start moved";
                ++changes;
            },
            [&](const TwoHandPinchEnded&) {
                EXPECT_TRUE(isOpen) << "ended outside a pinch";
                isOpen = false;
                ++ends;
            });
        EXPECT_EQ(recognizer.isSessionActive(), isOpen);
    });

    BrokenPairs frames(GetParam(), clock);
    for (int i = 0; i < 4000 && !testing::Test::HasFailure(); ++i) {
        eventsThisFrame = 0;
        recognizer.process(frames.next());
        EXPECT_LE(eventsThisFrame, 1);
    }
    // The frames must have reached every state, else nothing was shown.
    EXPECT_GT(begans, 20);
    EXPECT_GT(changes, 200);
    EXPECT_GT(ends, 20);

    // Whatever happened, two calm hands work again.
    recognizer.reset();
    isOpen = false;
    begans = 0;
    clock.advance(0.03);
    recognizer.process(std::vector{PinchHand{.chirality = Chirality::left}.pose(),
                                   PinchHand{.chirality = Chirality::right}.pose()});
    EXPECT_EQ(begans, 1);
}

INSTANTIATE_TEST_SUITE_P(Seeds, TwoHandPinchRecognizerProperty, testing::Range(1u, 26u));

} // namespace
} // namespace lanternfly
