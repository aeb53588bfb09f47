// Filtering and prediction of a pinch point.
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/PinchRecognizerFixture.h"

namespace lanternfly {
namespace {

using testing::SizeIs;

// The filters and the prediction, followed beside the recognizer on one moving hand.
class PinchPredictionTest : public PinchRecognizerTest {
protected:
    explicit PinchPredictionTest(
        const PinchRecognizer::Parameters& parameters = PinchRecognizer::Parameters::defaults)
        : PinchRecognizerTest(parameters) {}

    // Feeds 20 frames of a hand that moves to the right; returns the last event's pinch point.
    float2 pinchPointAfterMoving(PinchRecognizer& moved, float speed) {
        thumb.reset();
        index.reset();
        moved.setEventCallback([this](const PinchEvent& event) { events.push_back(event); });
        events.clear();
        for (int i = 0; i < 20; ++i) {
            clock.advanceNanos(33'000'000);
            const HandPose pose =
                seen({.at = {0.2f + speed * 0.033f * static_cast<float>(i), 0.5f}});
            moved.process(std::vector{pose});
            if (i == 0) continue; // the arming frame is not filtered
            const double seconds = static_cast<double>(pose.arrivedAtUptimeNanos) / 1e9;
            const auto feed = [&](OneEuroFilter2D& filter, HandLandmark landmark) {
                const HandPose::Point point = test::jointOf(pose, landmark);
                return filter.filter({point.x, point.y}, seconds);
            };
            midpoint =
                (feed(thumb, HandLandmark::thumbTip) + feed(index, HandLandmark::indexTip)) * 0.5f;
            velocity = (thumb.smoothedVelocity() + index.smoothedVelocity()) * 0.5f;
        }
        return std::get<PinchChanged>(events.back()).at;
    }

    OneEuroFilter2D thumb{1.5f, 0.05f, 1.0f}, index = thumb;
    float2 midpoint{}, velocity{};
};

TEST_F(PinchPredictionTest, WithoutLookAheadTheFilteredMidpointIsReported) {
    PinchRecognizer::Parameters parameters;
    parameters.predictionSeconds = 0;
    PinchRecognizer unpredicted(clock, parameters);
    EXPECT_EQ(pinchPointAfterMoving(unpredicted, 0.9f), midpoint);
    EXPECT_GT(velocity.x, 0.4f) << "fast enough that a prediction would show";
}

TEST_F(PinchPredictionTest, BelowTheVelocityFloorNothingIsPredicted) {
    EXPECT_EQ(pinchPointAfterMoving(recognizer, 0.15f), midpoint);
    EXPECT_GT(velocity.x, 0.1f);
}

TEST_F(PinchPredictionTest, BetweenOneAndTwoFloorsThePredictionFadesIn) {
    const float2 at = pinchPointAfterMoving(recognizer, 0.3f);
    ASSERT_GT(velocity.x, 0.2f);
    ASSERT_LT(velocity.x, 0.4f);
    const float gain = (velocity.x - 0.2f) / 0.2f;
    EXPECT_NEAR(at.x, midpoint.x + velocity.x * gain * 0.015f, 1e-6f);
    EXPECT_NEAR(at.y, midpoint.y, 1e-6f);
}

TEST_F(PinchPredictionTest, AboveTwoFloorsThePredictionIsWhole) {
    const float2 at = pinchPointAfterMoving(recognizer, 0.9f);
    ASSERT_GT(velocity.x, 0.4f);
    EXPECT_NEAR(at.x, midpoint.x + velocity.x * 0.015f, 1e-6f);
}

TEST_F(PinchPredictionTest, WithoutAVelocityFloorThePredictionIsAlwaysWhole) {
    PinchRecognizer::Parameters parameters;
    parameters.predictionVelocityFloor = 0;
    PinchRecognizer floorless(clock, parameters);
    const float2 at = pinchPointAfterMoving(floorless, 0.05f);
    EXPECT_GT(velocity.x, 0.01f);
    EXPECT_NEAR(at.x, midpoint.x + velocity.x * 0.015f, 1e-6f);
}

TEST_F(PinchPredictionTest, AnUnstampedPoseIsFilteredAtTheTimeOfTheCall) {
    PinchRecognizer stamped(clock);
    std::vector<PinchEvent> fromStamped;
    stamped.setEventCallback([&](const PinchEvent& event) { fromStamped.push_back(event); });
    std::vector<PinchEvent> fromUnstamped;
    for (int i = 0; i < 10; ++i) {
        clock.advanceNanos(33'000'000);
        PinchHand hand{.at = {0.2f + 0.03f * static_cast<float>(i), 0.5f}};
        for (const PinchEvent& event : frame(0, {hand.pose()}))
            fromUnstamped.push_back(event);
        stamped.process(std::vector{seen(hand)});
    }
    ASSERT_THAT(fromStamped, SizeIs(8));
    ASSERT_THAT(fromUnstamped, SizeIs(8));
    EXPECT_EQ(std::get<PinchChanged>(fromStamped.back()).at,
              std::get<PinchChanged>(fromUnstamped.back()).at);
}

} // namespace
} // namespace lanternfly
