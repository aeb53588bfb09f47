#include "platform/linux/vision/HandGeometry.h"

#include <limits>
#include <numbers>

#include <gtest/gtest.h>

#include "TestHand.h"

namespace lanternfly {

TEST(HandGeometry, CropOfAnUprightHandFollowsItsPalmSide) {
    // Index, middle and ring PIP at x = -24, 0, 20: their weighted mean (-1, -116) tilts the hand.
    const HandCrop crop = cropAround(testHand({200, 300}));
    EXPECT_NEAR(crop.angleRad, std::atan2(-1.0, 116.0), 1e-12);

    // The same by brute force: turn every joint upright about the origin and take the box.
    const double c = std::cos(crop.angleRad), s = std::sin(crop.angleRad);
    double left = 1e9, right = -1e9, top = 1e9, bottom = -1e9;
    for (const size_t i : {0u, 1u, 2u, 3u, 5u, 6u, 9u, 10u, 13u, 14u, 17u, 18u}) {
        const double2 p = testHand({200, 300})[i];
        const double x = c * p.x + s * p.y, y = -s * p.x + c * p.y;
        left = std::min(left, x);
        right = std::max(right, x);
        top = std::min(top, y);
        bottom = std::max(bottom, y);
    }
    EXPECT_NEAR(crop.sidePX, 1.85 * std::max(right - left, bottom - top), 1e-9);
    const double x = (left + right) / 2, y = (top + bottom) / 2 - 0.1 * (bottom - top);
    EXPECT_NEAR(crop.centre.x, c * x - s * y, 1e-9);
    EXPECT_NEAR(crop.centre.y, s * x + c * y, 1e-9);
}

TEST(HandGeometry, CropTurnsAndGrowsWithTheHand) {
    const JointPositions hand = testHand({0, 0});
    const HandCrop crop = cropAround(hand);
    for (const double angle : {0.4, 1.7, -2.5}) {
        const HandCrop turned = cropAround(rotated(hand, {0, 0}, angle));
        // The pivot box is that of the picture's axes, but the crop does not depend on it.
        EXPECT_NEAR(std::remainder(turned.angleRad - crop.angleRad - angle, 2 * std::numbers::pi),
                    0, 1e-9);
        EXPECT_NEAR(turned.sidePX, crop.sidePX, 1e-9);
        const double2 centre{std::cos(angle) * crop.centre.x - std::sin(angle) * crop.centre.y,
                             std::sin(angle) * crop.centre.x + std::cos(angle) * crop.centre.y};
        EXPECT_NEAR(glm::distance(turned.centre, centre), 0, 1e-9);
    }
    EXPECT_NEAR(cropAround(testHand({0, 0}, 2.5)).sidePX, 2.5 * crop.sidePX, 1e-9);
}

TEST(HandGeometry, CropTransformPutsTheCropsMiddleAtItsCentreAndUpAlongItsAngle) {
    const HandCrop crop{.centre = {100, 80}, .sidePX = 320, .angleRad = std::numbers::pi / 2};
    const CropTransform transform(crop, 160);
    EXPECT_NEAR(glm::distance(transform.toPicture({80, 80}), {100, 80}), 0, 1e-9);
    // Fingers up in the crop point right in the picture: 80 crop pixels are 160 picture pixels.
    EXPECT_NEAR(glm::distance(transform.toPicture({80, 0}), {260, 80}), 0, 1e-9);
}

TEST(HandGeometry, CropTransformThereAndBackIsTheSamePoint) {
    const CropTransform transform({.centre = {33, -7}, .sidePX = 41, .angleRad = -0.8}, 160);
    for (const double2 p : {double2{0, 0}, {160, 0}, {12.5, 99}, {-40, 300}})
        EXPECT_NEAR(glm::distance(transform.toCrop(transform.toPicture(p)), p), 0, 1e-9);
}

TEST(HandGeometry, SizeIsTheLongerSideOfTheBox) {
    EXPECT_DOUBLE_EQ(sizePX(testHand({10, 10})), 160);
    EXPECT_DOUBLE_EQ(sizePX(rotated(testHand({10, 10}), {0, 0}, std::numbers::pi)), 160);
}

TEST(HandGeometry, OneJointThatIsNoNumberMakesAHandNotFinite) {
    JointPositions joints = testHand({0, 0});
    EXPECT_TRUE(isFinite(joints));
    joints[20].y = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(isFinite(joints));
}

} // namespace lanternfly
