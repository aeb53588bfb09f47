#include "gestures/PinchRecognizer.h"

#include <cmath>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/LogCapture.h"
#include "support/PinchRecognizerFixture.h"

namespace lanternfly {
namespace {

using test::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::VariantWith;
using Chirality = HandPose::Chirality;

// --- What the events carry -------------------------------------------------------------------

TEST_F(PinchRecognizerTest, EventsCarryThePinchPointAndTheFramesTimes) {
    frame(0, {seen({})});
    clock.advance(0.06);
    const HandPose first = seen({.at = {0.4f, 0.6f}});
    ASSERT_THAT(frame(0, {first}), SizeIs(1));
    const auto began = std::get<PinchBegan>(events[0]);
    EXPECT_NEAR(began.at.x, 0.4f, 1e-6f);
    EXPECT_NEAR(began.at.y, 0.6f, 1e-6f);
    EXPECT_EQ(began.sourcePts, first.pts);
    EXPECT_EQ(began.arrivedAtUptimeNanos, first.arrivedAtUptimeNanos);

    clock.advance(0.033);
    const HandPose second = seen({.at = {0.45f, 0.55f}, .size = 0.3f});
    ASSERT_THAT(frame(0, {second}), SizeIs(1));
    const auto changed = std::get<PinchChanged>(events[0]);
    EXPECT_NEAR(changed.at.x, 0.45f, 1e-6f);
    EXPECT_NEAR(changed.at.y, 0.55f, 1e-6f);
    EXPECT_NEAR(changed.scaleDelta, 1.5f, 1e-5f);
    EXPECT_EQ(changed.sourcePts, second.pts);
    EXPECT_EQ(changed.arrivedAtUptimeNanos, second.arrivedAtUptimeNanos);

    frame(0.033, {seen({.ratio = 0.6f})});
    clock.advance(0.04);
    const HandPose last = seen({.ratio = 0.6f});
    EXPECT_THAT(frame(0, {last}), ElementsAre(VariantWith<PinchEnded>(
                                      PinchEnded{last.pts, last.arrivedAtUptimeNanos})));
}

TEST_F(PinchRecognizerTest, TheHardTimeoutIsLoggedWithTheLimitAndNotTheGap) {
    begin();
    LogCapture log;
    EXPECT_THAT(frame(3, {}), ElementsAre(VariantWith<PinchEnded>(PinchEnded{})));
    ASSERT_THAT(log.lines(), SizeIs(1));
    EXPECT_EQ(log.lines()[0].message, "pinch released: no pose for 1.500s");
    EXPECT_EQ(log.lines()[0].level, LogLevel::info);
    EXPECT_EQ(log.lines()[0].category, "PinchRecognizer");
}

TEST_F(PinchRecognizerTest, TheHardTimeoutRunsFromTheLastMeasuredFrame) {
    begin();
    frame(1.0, {PinchHand{}.pose()});
    EXPECT_THAT(frame(1.4, {}), IsEmpty());
    EXPECT_THAT(frame(0.1, {}), SizeIs(1));
}

TEST_F(PinchRecognizerTest, WithoutACallbackTheStateRunsTheSame) {
    recognizer.setEventCallback(nullptr);
    frame(0.1, {PinchHand{}.pose()});
    frame(0.06, {PinchHand{}.pose()});
    recognizer.setEventCallback([this](const PinchEvent& event) { events.push_back(event); });
    EXPECT_THAT(frame(0.03, {PinchHand{}.pose()}),
                ElementsAre(VariantWith<PinchChanged>(testing::_)));
}

TEST_F(PinchRecognizerTest, ResetEmitsNothingAndForgetsThePinch) {
    begin();
    events.clear();
    recognizer.reset();
    EXPECT_THAT(events, IsEmpty());
    EXPECT_THAT(frame(0.03, {PinchHand{}.pose()}), IsEmpty());
    EXPECT_THAT(frame(0.06, {PinchHand{}.pose()}),
                ElementsAre(VariantWith<PinchBegan>(testing::_)));
}

TEST_F(PinchRecognizerTest, TheCallbackMayResetTheRecognizer) {
    int began = 0;
    recognizer.setEventCallback([&](const PinchEvent& event) {
        began += std::holds_alternative<PinchBegan>(event);
        recognizer.reset();
    });
    for (int i = 0; i < 4; ++i)
        frame(0.06, {PinchHand{}.pose()});
    EXPECT_EQ(began, 2) << "each pinch is armed afresh";
}

TEST_F(PinchRecognizerTest, ScaleDeltaIsOneWhenTheStartingHandHasNoSize) {
    // A negative cutoff makes the size filter overshoot: at a weight of 2 a hand that shrinks to
    // half is filtered to nothing.
    constexpr float weight = 2, step = 0.06f;
    auto parameters = unfiltered();
    parameters.sizeFilterMinCutoff =
        1 / (6.2831850f * step * (1 / weight - 1)); // weight = 1 / (1 + tau / step)
    parameters.sizeFilterBeta = 0;
    parameters.armingHoldSeconds = 0.1;
    PinchRecognizer overshooting(clock, parameters);
    overshooting.setEventCallback([this](const PinchEvent& event) { events.push_back(event); });
    for (const float size : {0.2f, 0.2f, 0.1f, 0.3f}) {
        clock.advance(0.06);
        overshooting.process(std::vector{PinchHand{.ratio = 0, .size = size}.pose()});
    }
    ASSERT_THAT(events, ElementsAre(VariantWith<PinchBegan>(testing::_),
                                    VariantWith<PinchChanged>(testing::_)));
    EXPECT_EQ(std::get<PinchChanged>(events[1]).scaleDelta, 1.0f);
}

// --- Which hand ------------------------------------------------------------------------------

TEST_F(PinchRecognizerTest, OfTwoPinchesTheTighterOneIsArmed) {
    const std::vector poses{
        PinchHand{.chirality = Chirality::left, .at = {0.2f, 0.5f}, .ratio = 0.2f}.pose(),
        PinchHand{.chirality = Chirality::right, .at = {0.8f, 0.5f}, .ratio = 0.1f}.pose()};
    frame(0.1, poses);
    ASSERT_THAT(frame(0.06, poses), SizeIs(1));
    EXPECT_NEAR(std::get<PinchBegan>(events[0]).at.x, 0.8f, 1e-5f);
}

TEST_F(PinchRecognizerTest, OfTwoEqualPinchesTheFirstIsArmed) {
    PinchHand left{
        .chirality = Chirality::left, .at = {0.25f, 0.5f}, .ratio = 0.25f, .size = 0.25f};
    PinchHand right = left;
    right.chirality = Chirality::right;
    right.at.x = 0.75f;
    frame(0.1, {right.pose(), left.pose()});
    ASSERT_THAT(frame(0.06, {left.pose(), right.pose()}), SizeIs(1));
    EXPECT_NEAR(std::get<PinchBegan>(events[0]).at.x, 0.75f, 1e-5f);
}

TEST_F(PinchRecognizerTest, TheTighterHandIsChosenByDistanceAndNotByRatio) {
    const std::vector poses{
        PinchHand{.chirality = Chirality::left, .at = {0.2f, 0.5f}, .ratio = 0.1f, .size = 0.4f}
            .pose(),
        PinchHand{.chirality = Chirality::right, .at = {0.8f, 0.5f}, .ratio = 0.2f, .size = 0.1f}
            .pose()};
    frame(0.1, poses);
    ASSERT_THAT(frame(0.06, poses), SizeIs(1));
    EXPECT_NEAR(std::get<PinchBegan>(events[0]).at.x, 0.8f, 1e-5f);
}

TEST_F(PinchRecognizerTest, TheFirstPoseOfTheTrackedChiralityIsFollowed) {
    begin({.at = {0.5f, 0.5f}});
    frame(0.03, {PinchHand{.chirality = Chirality::left, .at = {0.5f, 0.5f}}.pose(),
                 PinchHand{.at = {0.9f, 0.5f}}.pose(), PinchHand{.at = {0.5f, 0.5f}}.pose()});
    EXPECT_NEAR(std::get<PinchChanged>(events.at(0)).at.x, 0.9f, 1e-5f);
}

TEST_F(PinchRecognizerTest, OfOtherChiralitiesTheNearestToTheLastPinchPointIsFollowed) {
    begin({.at = {0.5f, 0.5f}});
    frame(0.03, {PinchHand{.chirality = Chirality::left, .at = {0.65f, 0.5f}}.pose(),
                 PinchHand{.chirality = Chirality::unknown, .at = {0.6f, 0.5f}}.pose()});
    EXPECT_NEAR(std::get<PinchChanged>(events.at(0)).at.x, 0.6f, 1e-5f);
}

TEST_F(PinchRecognizerTest, EquallyNearHandsKeepTheFirst) {
    begin({.at = {0.5f, 0.5f}, .ratio = 0});
    frame(0.03,
          {PinchHand{.chirality = Chirality::left, .at = {0.625f, 0.5f}, .ratio = 0}.pose(),
           PinchHand{.chirality = Chirality::unknown, .at = {0.375f, 0.5f}, .ratio = 0}.pose()});
    EXPECT_NEAR(std::get<PinchChanged>(events.at(0)).at.x, 0.625f, 1e-5f);
}

TEST_F(PinchRecognizerTest, HandsOfOtherChiralityThatAreTooFarAreNotFollowed) {
    begin({.at = {0.5f, 0.5f}});
    const std::vector far{PinchHand{.chirality = Chirality::left, .at = {0.71f, 0.5f}}.pose(),
                          PinchHand{.chirality = Chirality::unknown, .at = {0.29f, 0.5f}}.pose()};
    EXPECT_THAT(frame(0.03, far), IsEmpty());
    EXPECT_THAT(frame(1.5, far), ElementsAre(VariantWith<PinchEnded>(PinchEnded{})));
}

TEST_F(PinchRecognizerTest, AHandWithoutFingertipsIsNotNearToAnything) {
    begin({.at = {0.5f, 0.5f}});
    HandPose near = PinchHand{.chirality = Chirality::left, .at = {0.5f, 0.5f}}.pose();
    near.landmarks.erase(HandLandmark::thumbTip);
    frame(0.03, {near, PinchHand{.chirality = Chirality::left, .at = {0.6f, 0.5f}}.pose()});
    EXPECT_NEAR(std::get<PinchChanged>(events.at(0)).at.x, 0.6f, 1e-5f);
}

TEST_F(PinchRecognizerTest, RightAfterArmingNoPlaceIsKnownToFindTheHandBy) {
    frame(0.1, {PinchHand{}.pose()});
    const HandPose left = PinchHand{.chirality = Chirality::left}.pose();
    EXPECT_THAT(frame(0.06, {left, left}), IsEmpty());
    EXPECT_THAT(frame(0.06, {PinchHand{}.pose()}), IsEmpty()) << "it had fallen back to idle";
}

// --- The measurement -------------------------------------------------------------------------

TEST_F(PinchRecognizerTest, EveryMeasuredJointIsNeeded) {
    for (const HandLandmark missing : {HandLandmark::thumbTip, HandLandmark::indexTip,
                                       HandLandmark::wrist, HandLandmark::middleMCP}) {
        recognizer.reset();
        HandPose pose = PinchHand{}.pose();
        pose.landmarks.erase(missing);
        frame(0.1, {pose});
        EXPECT_THAT(frame(0.06, {PinchHand{}.pose()}), IsEmpty());
    }
}

TEST_F(PinchRecognizerTest, EveryJointHasItsOwnConfidenceFloor) {
    struct Floor {
        HandLandmark landmark;
        float idle, engaged;
    };
    for (const Floor& floor : {Floor{HandLandmark::thumbTip, 0.4f, 0.4f - 0.1f},
                               Floor{HandLandmark::indexTip, 0.4f, 0.4f - 0.1f},
                               Floor{HandLandmark::wrist, 0.15f, 0.15f - 0.1f},
                               Floor{HandLandmark::middleMCP, 0.15f, 0.15f - 0.1f}}) {
        const auto withConfidence = [&](float confidence) {
            HandPose pose = PinchHand{}.pose();
            HandPose::Point point = test::jointOf(pose, floor.landmark);
            point.confidence = confidence;
            pose.landmarks.set(floor.landmark, point);
            return pose;
        };
        recognizer.reset();
        frame(0.1, {withConfidence(std::nextafter(floor.idle, 0.0f))});
        EXPECT_THAT(frame(0.06, {withConfidence(floor.idle)}), IsEmpty()) << "armed only now";
        EXPECT_THAT(frame(0.06, {withConfidence(floor.idle)}), SizeIs(1));
        EXPECT_THAT(frame(0.03, {withConfidence(floor.engaged)}), SizeIs(1)) << "engaged: lower";
        EXPECT_THAT(frame(0.03, {withConfidence(std::nextafter(floor.engaged, 0.0f))}), IsEmpty());
    }
}

TEST_F(PinchRecognizerTest, ARelaxedFloorIsNeverBelowZero) {
    auto parameters = unfiltered();
    parameters.engagedFloorRelaxation = 1;
    PinchRecognizer relaxed(clock, parameters);
    relaxed.setEventCallback([this](const PinchEvent& event) { events.push_back(event); });
    for (const float confidence : {0.9f, 0.9f, 0.0f, -0.1f}) {
        clock.advance(0.06);
        relaxed.process(std::vector{PinchHand{.confidence = confidence}.pose()});
    }
    EXPECT_THAT(events, SizeIs(2)) << "began, changed at confidence 0, nothing below";
}

TEST_F(PinchRecognizerTest, ADegenerateHandIsNotMeasured) {
    const PinchHand degenerate{.ratio = 0, .size = 0.00005f};
    frame(0.1, {degenerate.pose()});
    EXPECT_THAT(frame(0.06, {degenerate.pose()}), IsEmpty());
    EXPECT_THAT(frame(0.06, {degenerate.pose()}), IsEmpty());
}

TEST_F(PinchRecognizerTest, RatiosCompareInclusivelyAtEnterAndExclusivelyAtExit) {
    // Sizes and distances that are exact in binary, so that the products are too.
    auto parameters = unfiltered();
    parameters.pinchEnterRatio = 0.25f;
    parameters.pinchExitRatio = 0.5f;
    PinchRecognizer exact(clock, parameters);
    exact.setEventCallback([this](const PinchEvent& event) { events.push_back(event); });
    const auto handAt = [](float distance) {
        HandPose pose;
        pose.landmarks.set(HandLandmark::wrist, {0.5f, 0.25f, 1});
        pose.landmarks.set(HandLandmark::middleMCP, {0.5f, 0.5f, 1});
        pose.landmarks.set(HandLandmark::thumbTip, {0.5f, 0.75f, 1});
        pose.landmarks.set(HandLandmark::indexTip, {0.5f + distance, 0.75f, 1});
        return pose;
    };
    for (const float distance : {0.0625f, 0.0625f, 0.125f, 0.125f}) {
        clock.advance(0.06);
        exact.process(std::vector{handAt(distance)});
    }
    EXPECT_THAT(events, SizeIs(3)) << "began, then changed at the very exit ratio, twice";
}

TEST_F(PinchRecognizerTest, ANumberThatIsNoNumberNeverReachesTheFilters) {
    begin();
    HandPose broken = PinchHand{}.pose();
    broken.landmarks.set(HandLandmark::thumbTip, {NAN, INFINITY, 0.9f});
    EXPECT_THAT(frame(0.03, {broken}), IsEmpty());
    ASSERT_THAT(frame(0.03, {PinchHand{}.pose()}), SizeIs(1));
    EXPECT_NEAR(std::get<PinchChanged>(events[0]).at.x, 0.5f, 1e-5f);
}

TEST_F(PinchRecognizerTest, TelemetryHearsTheMeanConfidenceOfEveryMeasuredPose) {
    const auto telemetry = std::make_shared<TrackingTelemetry>(clock);
    recognizer.setTelemetry(telemetry);

    HandPose incomplete = PinchHand{.confidence = 0.9f}.pose();
    incomplete.landmarks.erase(HandLandmark::wrist);
    frame(0.1, {incomplete});
    EXPECT_EQ(telemetry->readout().landmarkConfidence, std::nullopt);

    HandPose unsure = PinchHand{.confidence = 0.1f}.pose(); // probing, and below the floors
    unsure.landmarks.set(HandLandmark::wrist, {0.5f, 0.2f, 0.5f});
    frame(0.1, {unsure});
    EXPECT_NEAR(*telemetry->readout().landmarkConfidence, 0.2, 1e-6);

    frame(0.1, {PinchHand{.confidence = 1}.pose(), PinchHand{.confidence = 0.5f}.pose()});
    EXPECT_NEAR(*telemetry->readout().landmarkConfidence, 0.2 * 0.5 + 0.8 * (0.2 * 1 + 0.8 * 0.2),
                1e-6);
}

TEST_F(PinchRecognizerTest, ATrackingConfigTunesWhatItNamesAndNothingElse) {
    TrackingConfig config;
    config.pinchEnterRatio = 0.2f;
    config.pinchExitRatio = 0.5f;
    config.landmarkFloorThumbTip = 0.11f;
    config.landmarkFloorIndexTip = 0.12f;
    config.landmarkFloorWrist = 0.13f;
    config.landmarkFloorMiddleMCP = 0.14f;
    config.engagedFloorRelaxation = 0.05f;
    config.positionFilterMinCutoff = 3;
    config.positionFilterBeta = 0.3f;
    config.sizeFilterMinCutoff = 2;
    config.sizeFilterBeta = 0.4f;
    config.predictionMs = 33;
    config.predictionVelocityFloor = 0.7f;

    PinchRecognizer::Parameters expected;
    expected.armingHoldSeconds = 0.5;
    expected.releaseHoldSeconds = 0.6;
    expected.noPoseHardTimeoutSeconds = 0.7;
    PinchRecognizer tuned(clock, expected);
    tuned.setTrackingConfig(config);

    expected.pinchEnterRatio = 0.2f;
    expected.pinchExitRatio = 0.5f;
    expected.confidenceFloors = {0.11f, 0.12f, 0.13f, 0.14f};
    expected.engagedFloorRelaxation = 0.05f;
    expected.positionFilterMinCutoff = 3;
    expected.positionFilterBeta = 0.3f;
    expected.sizeFilterMinCutoff = 2;
    expected.sizeFilterBeta = 0.4f;
    expected.predictionSeconds = static_cast<double>(33.0f * 0.001f);
    expected.predictionVelocityFloor = 0.7f;
    EXPECT_EQ(tuned.parameters(), expected);
}

TEST_F(PinchRecognizerTest, TuningDuringAPinchKeepsThePinch) {
    begin();
    TrackingConfig config;
    config.positionFilterMinCutoff = 1.5f;
    config.sizeFilterMinCutoff = 1e9f;
    config.predictionMs = 0;
    recognizer.setTrackingConfig(config);

    // The position filter goes on from where it was, at its new cutoff.
    OneEuroFilter x(1.5f, 0.05f, 1.0f);
    const double start = clock.uptimeSeconds();
    x.filter(0.5f, start);
    ASSERT_THAT(frame(0.033, {PinchHand{.at = {0.6f, 0.5f}, .ratio = 0}.pose()}), SizeIs(1));
    EXPECT_NEAR(std::get<PinchChanged>(events[0]).at.x, x.filter(0.6f, clock.uptimeSeconds()),
                1e-3f);
    EXPECT_LT(std::get<PinchChanged>(events[0]).at.x, 0.55f);
}

TEST(PinchRecognizerParameters, DefaultsAreTheTunedOnes) {
    const auto& defaults = PinchRecognizer::Parameters::defaults;
    EXPECT_EQ(defaults.pinchEnterRatio, 0.30f);
    EXPECT_EQ(defaults.pinchExitRatio, 0.35f);
    EXPECT_EQ(defaults.armingHoldSeconds, 0.06);
    EXPECT_EQ(defaults.releaseHoldSeconds, 0.04);
    EXPECT_EQ(defaults.noPoseHardTimeoutSeconds, 1.5);
    EXPECT_EQ(defaults.confidenceFloors, PinchRecognizer::LandmarkConfidenceFloors::defaults);
    EXPECT_EQ(defaults.confidenceFloors,
              (PinchRecognizer::LandmarkConfidenceFloors{0.4f, 0.4f, 0.15f, 0.15f}));
    EXPECT_EQ(defaults.engagedFloorRelaxation, 0.1f);
    EXPECT_EQ(defaults.positionFilterMinCutoff, 1.5f);
    EXPECT_EQ(defaults.positionFilterBeta, 0.05f);
    EXPECT_EQ(defaults.sizeFilterMinCutoff, 1.0f);
    EXPECT_EQ(defaults.sizeFilterBeta, 0.02f);
    EXPECT_EQ(defaults.predictionSeconds, 0.015);
    EXPECT_EQ(defaults.predictionVelocityFloor, 0.2f);
    ManualClock clock;
    EXPECT_EQ(PinchRecognizer(clock).parameters(), defaults);
}

} // namespace
} // namespace lanternfly
