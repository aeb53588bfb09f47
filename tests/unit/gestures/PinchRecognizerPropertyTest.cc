// What holds for any sequence of frames, however broken.
#include "gestures/PinchRecognizer.h"

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "base/Match.h"
#include "support/Hands.h"
#include "support/LogCapture.h"

namespace lanternfly {
namespace {

using test::PinchHand;

// A presenter from a bad dream: hands that vanish and swap sides, joints that are missing or no
// numbers, a clock that stands or jumps back.
class BrokenFrames {
public:
    BrokenFrames(uint32_t seed, ManualClock& clock) : _random(seed), _clock(clock) {}

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
    bool chance(double probability) { return std::bernoulli_distribution(probability)(_random); }
    size_t pick(size_t count) {
        return std::uniform_int_distribution<size_t>(0, count - 1)(_random);
    }
    float real(float low, float high) {
        return std::uniform_real_distribution<float>(low, high)(_random);
    }

    void moveClock() {
        if (chance(0.05)) return;
        if (chance(0.03))
            _clock.set(_clock.uptimeNanos() - 1'000'000 * pick(3000));
        else if (chance(0.03))
            _clock.advanceNanos(1'000'000 * pick(3000));
        else
            _clock.advanceNanos(1'000'000 * (20 + pick(30)));
    }

    HandPose hand() {
        PinchHand hand;
        hand.chirality = static_cast<HandPose::Chirality>(chance(0.9) ? 1 : pick(3));
        _place += float2{real(-0.05f, 0.05f), real(-0.05f, 0.05f)};
        _place = glm::clamp(_place, float2{0}, float2{1});
        hand.at = _place;
        hand.ratio = _isPinched ? real(0, 0.3f) : real(0.2f, 2);
        hand.size = chance(0.95) ? real(0.05f, 0.4f) : real(0, 0.0002f);
        hand.confidence = chance(0.9) ? real(0.4f, 1) : real(0, 0.5f);
        hand.arrivedAtUptimeNanos = chance(0.9) ? _clock.uptimeNanos() : oddTime();
        HandPose pose = hand.pose();
        if (chance(0.1)) breakJoint(pose);
        return pose;
    }

    uint64_t oddTime() {
        constexpr uint64_t times[] = {0, 1, std::numeric_limits<uint64_t>::max()};
        return times[pick(3)];
    }

    void breakJoint(HandPose& pose) {
        constexpr HandLandmark measured[] = {HandLandmark::thumbTip, HandLandmark::indexTip,
                                             HandLandmark::wrist, HandLandmark::middleMCP};
        constexpr float odd[] = {
            std::numeric_limits<float>::quiet_NaN(),  std::numeric_limits<float>::infinity(),
            -std::numeric_limits<float>::infinity(),  std::numeric_limits<float>::max(),
            std::numeric_limits<float>::denorm_min(), -1e20f};
        const HandLandmark landmark = measured[pick(4)];
        HandPose::Point point = test::jointOf(pose, landmark);
        switch (pick(4)) {
        case 0:
            pose.landmarks.erase(landmark);
            return;
        case 1:
            point.x = odd[pick(6)];
            break;
        case 2:
            point.y = odd[pick(6)];
            break;
        case 3:
            point.confidence = odd[pick(6)];
            break;
        }
        pose.landmarks.set(landmark, point);
    }

    std::mt19937 _random;
    ManualClock& _clock;
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
