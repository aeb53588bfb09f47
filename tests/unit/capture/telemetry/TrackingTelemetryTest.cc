#include "capture/telemetry/TrackingTelemetry.h"

#include <limits>

#include <gtest/gtest.h>

namespace lanternfly {
namespace {

class TrackingTelemetryTest : public testing::Test {
protected:
    ManualClock clock;
    TrackingTelemetry telemetry{clock};
};

TEST_F(TrackingTelemetryTest, BeforeAnySampleTheAveragesAreEmpty) {
    const auto readout = telemetry.readout();
    EXPECT_EQ(readout.detectionMs, std::nullopt);
    EXPECT_EQ(readout.poseIntervalMs, std::nullopt);
    EXPECT_EQ(readout.landmarkConfidence, std::nullopt);
    EXPECT_EQ(readout.dropsPerSecond, 0);
}

TEST_F(TrackingTelemetryTest, TheFirstSampleIsTakenAsItIsAndLaterOnesWeighOneFifth) {
    telemetry.recordDetection(10'000'000);
    EXPECT_DOUBLE_EQ(*telemetry.readout().detectionMs, 10);
    telemetry.recordDetection(20'000'000);
    EXPECT_DOUBLE_EQ(*telemetry.readout().detectionMs, 0.2 * 20 + 0.8 * 10);

    telemetry.recordLandmarkConfidence(0.5f);
    EXPECT_DOUBLE_EQ(*telemetry.readout().landmarkConfidence, 0.5);
    telemetry.recordLandmarkConfidence(1.0f);
    EXPECT_DOUBLE_EQ(*telemetry.readout().landmarkConfidence, 0.6);
}

TEST_F(TrackingTelemetryTest, APoseIntervalNeedsTwoDeliveries) {
    telemetry.recordPoseDelivery(1'000'000'000);
    EXPECT_EQ(telemetry.readout().poseIntervalMs, std::nullopt);
    telemetry.recordPoseDelivery(1'030'000'000);
    EXPECT_DOUBLE_EQ(*telemetry.readout().poseIntervalMs, 30);
    telemetry.recordPoseDelivery(1'070'000'000);
    EXPECT_DOUBLE_EQ(*telemetry.readout().poseIntervalMs, 0.2 * 40 + 0.8 * 30);
}

TEST_F(TrackingTelemetryTest, ADeliveryAtTimeZeroChangesNothing) {
    telemetry.recordPoseDelivery(1'000'000'000);
    telemetry.recordPoseDelivery(0);
    telemetry.recordPoseDelivery(1'030'000'000);
    EXPECT_DOUBLE_EQ(*telemetry.readout().poseIntervalMs, 30);
}

TEST_F(TrackingTelemetryTest, AnEarlierDeliveryGivesNoIntervalButIsTheNextOnesStart) {
    telemetry.recordPoseDelivery(2'000'000'000);
    telemetry.recordPoseDelivery(2'000'000'000);
    telemetry.recordPoseDelivery(1'000'000'000);
    EXPECT_EQ(telemetry.readout().poseIntervalMs, std::nullopt);
    telemetry.recordPoseDelivery(1'025'000'000);
    EXPECT_DOUBLE_EQ(*telemetry.readout().poseIntervalMs, 25);
}

TEST_F(TrackingTelemetryTest, AnInvalidConfidenceIsIgnored) {
    telemetry.recordLandmarkConfidence(std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(telemetry.readout().landmarkConfidence, std::nullopt);
    telemetry.recordLandmarkConfidence(0.25f);
    telemetry.recordLandmarkConfidence(std::numeric_limits<float>::infinity());
    EXPECT_DOUBLE_EQ(*telemetry.readout().landmarkConfidence, 0.25);
}

TEST_F(TrackingTelemetryTest, DropsAreCountedOverAWindowOfTwoSeconds) {
    telemetry.recordDrop();
    clock.advanceNanos(1'999'999'999);
    telemetry.recordDrop();
    EXPECT_EQ(telemetry.readout().dropsPerSecond, 0) << "the window is still open";
    clock.advanceNanos(1);
    EXPECT_DOUBLE_EQ(telemetry.readout().dropsPerSecond, 1);
    clock.advance(2);
    EXPECT_EQ(telemetry.readout().dropsPerSecond, 0) << "a window without drops";
}

TEST_F(TrackingTelemetryTest, ADropAfterTheWindowClosesItAndCountsInTheNext) {
    for (int i = 0; i < 6; ++i)
        telemetry.recordDrop();
    clock.advance(3);
    telemetry.recordDrop();
    EXPECT_DOUBLE_EQ(telemetry.readout().dropsPerSecond, 6 / 3.0);
    clock.advance(2);
    EXPECT_DOUBLE_EQ(telemetry.readout().dropsPerSecond, 1 / 2.0) << "the closing drop alone";
}

TEST_F(TrackingTelemetryTest, TheFirstReadoutOpensTheWindow) {
    telemetry.readout();
    clock.advance(1);
    telemetry.recordDrop();
    clock.advance(1);
    EXPECT_DOUBLE_EQ(telemetry.readout().dropsPerSecond, 0.5);
}

TEST_F(TrackingTelemetryTest, AClockThatJumpsBackKeepsTheWindowOpen) {
    telemetry.recordDrop();
    clock.set(clock.uptimeNanos() - 500'000'000'000);
    telemetry.recordDrop();
    EXPECT_EQ(telemetry.readout().dropsPerSecond, 0);
}

TEST_F(TrackingTelemetryTest, ResetForgetsEverything) {
    telemetry.recordDetection(1'000'000);
    telemetry.recordPoseDelivery(1'000'000'000);
    telemetry.recordPoseDelivery(1'030'000'000);
    telemetry.recordLandmarkConfidence(0.5f);
    telemetry.recordDrop();
    clock.advance(2);
    EXPECT_NE(telemetry.readout(), TrackingTelemetry::Readout{});

    telemetry.recordDrop();
    telemetry.reset();
    EXPECT_EQ(telemetry.readout(), TrackingTelemetry::Readout{});
    telemetry.recordPoseDelivery(1'060'000'000);
    clock.advance(2);
    EXPECT_EQ(telemetry.readout(), TrackingTelemetry::Readout{}) << "nothing counted, no interval";
}

} // namespace
} // namespace lanternfly
