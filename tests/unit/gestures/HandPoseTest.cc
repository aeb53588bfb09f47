#include "gestures/HandPose.h"

#include <limits>
#include <type_traits>

#include <gtest/gtest.h>

namespace lanternfly {
namespace {

static_assert(std::is_trivially_copyable_v<HandPose>, "a copy of a hand must not allocate");

TEST(HandPoseTest, PointsAreEqualExactlyWhenAllThreeNumbersAre) {
    const HandPose::Point point{0.25f, 0.5f, 0.75f};
    EXPECT_EQ(point, (HandPose::Point{0.25f, 0.5f, 0.75f}));
    EXPECT_NE(point, (HandPose::Point{0.26f, 0.5f, 0.75f}));
    EXPECT_NE(point, (HandPose::Point{0.25f, 0.51f, 0.75f}));
    EXPECT_NE(point, (HandPose::Point{0.25f, 0.5f, 0.76f}));
}

TEST(HandPoseTest, AllLandmarksStandInAnatomicalOrder) {
    ASSERT_EQ(allHandLandmarks.size(), 21u);
    EXPECT_EQ(allHandLandmarks.front(), HandLandmark::wrist);
    EXPECT_EQ(allHandLandmarks[4], HandLandmark::thumbTip);
    EXPECT_EQ(allHandLandmarks[8], HandLandmark::indexTip);
    EXPECT_EQ(allHandLandmarks[9], HandLandmark::middleMCP);
    EXPECT_EQ(allHandLandmarks[16], HandLandmark::ringTip);
    EXPECT_EQ(allHandLandmarks.back(), HandLandmark::pinkyTip);
}

TEST(HandPoseTest, AnUndetectedJointHasNoEntry) {
    HandPose::Landmarks landmarks;
    for (const HandLandmark landmark : allHandLandmarks)
        EXPECT_EQ(landmarks.find(landmark), nullptr);

    landmarks.set(HandLandmark::ringDIP, {0.1f, 0.2f, 0.3f});
    ASSERT_NE(landmarks.find(HandLandmark::ringDIP), nullptr);
    EXPECT_EQ(*landmarks.find(HandLandmark::ringDIP), (HandPose::Point{0.1f, 0.2f, 0.3f}));
    EXPECT_FALSE(landmarks.contains(HandLandmark::ringPIP));
    EXPECT_EQ(landmarks.count(), 1u);

    landmarks.erase(HandLandmark::ringDIP);
    EXPECT_EQ(landmarks, HandPose::Landmarks{});
}

TEST(HandPoseTest, PosesAreComparedFieldByField) {
    HandPose pose;
    pose.landmarks.set(HandLandmark::wrist, {0.1f, 0.2f, 0.3f});
    pose.pts = MediaTime::make(1, 30);
    HandPose other = pose;
    EXPECT_EQ(pose, other);
    other.landmarks.set(HandLandmark::wrist, {0.1f, 0.2f, 0.4f});
    EXPECT_NE(pose, other);
    other = pose;
    other.detectionDurationNanos = 1;
    EXPECT_NE(pose, other);
    other = pose;
    other.chirality = HandPose::Chirality::left;
    EXPECT_NE(pose, other);
}

TEST(HandPoseTest, OnlyNumbersNearThePictureAreMeasured) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const auto isMeasured = [](HandPose::Point point) {
        HandPose pose;
        pose.landmarks.set(HandLandmark::wrist, point);
        return measurablePoint(pose, HandLandmark::wrist) != nullptr;
    };
    EXPECT_TRUE(isMeasured({0, 1, 1}));
    EXPECT_TRUE(isMeasured({-0.4f, 1.4f, 0})) << "a hand at the edge reaches outside";
    EXPECT_FALSE(isMeasured({nan, 0.5f, 1}));
    EXPECT_FALSE(isMeasured({0.5f, nan, 1}));
    EXPECT_FALSE(isMeasured({0.5f, 0.5f, nan}));
    EXPECT_FALSE(isMeasured({infinity, 0.5f, 1}));
    EXPECT_FALSE(isMeasured({0.5f, -infinity, 1}));
    EXPECT_FALSE(isMeasured({1e30f, 0.5f, 1})) << "its square would be infinite";
    EXPECT_EQ(measurablePoint(HandPose{}, HandLandmark::wrist), nullptr);
}

} // namespace
} // namespace lanternfly
