#include "motion/PinchMotion.h"

#include <gtest/gtest.h>

namespace lanternfly {

namespace {

constexpr ClosedRange limits{0.25f, 1.4f};

} // namespace

TEST(PinchMotion, CreepsOutOfTheAnchorAndCatchesUpWithTheHand) {
    EXPECT_FLOAT_EQ(PinchMotion::creptOut({0.03f, 0}, 0.06f).x, 0.0225f);
    EXPECT_NEAR(PinchMotion::creptOut({0, -0.0599999f}, 0.06f).y, -0.06f, 1e-6f);
    const float2 slanted = PinchMotion::creptOut({0.018f, 0.024f}, 0.06f);
    EXPECT_FLOAT_EQ(slanted.x, 0.018f * 0.75f);
    EXPECT_FLOAT_EQ(slanted.y, 0.024f * 0.75f);
}

TEST(PinchMotion, GrowsFasterThanItShrinks) {
    EXPECT_FLOAT_EQ(PinchMotion::scaled(0.4f, 0.5f, 1.5f, 1.5f), 0.4f * 0.25f);
    EXPECT_FLOAT_EQ(PinchMotion::scaled(0.4f, 1.5f, 1.5f, 1.5f), 0.4f * 2.125f);
    EXPECT_EQ(PinchMotion::scaled(0.4f, 1, 1.5f, 1.5f), 0.4f);
}

TEST(PinchMotion, LetsAScaleOvershootItsLimitsByLessThanTheBand) {
    EXPECT_NEAR(PinchMotion::rubberBanded(2, limits, 0.15f), 1.503125f, 1e-5f);
    EXPECT_NEAR(PinchMotion::rubberBanded(0.1f, limits, 0.15f), 0.196774f, 1e-5f);
    EXPECT_EQ(PinchMotion::rubberBanded(0.7f, limits, 0.15f), 0.7f);
    EXPECT_EQ(PinchMotion::rubberBanded(0.25f, limits, 0.15f), 0.25f);
    EXPECT_EQ(PinchMotion::rubberBanded(1.4f, limits, 0.15f), 1.4f);
}

TEST(PinchMotion, ClampsHardWithoutABand) {
    for (const float band : {0.0f, -1.0f}) {
        EXPECT_EQ(PinchMotion::rubberBanded(2, limits, band), 1.4f);
        EXPECT_EQ(PinchMotion::rubberBanded(0.1f, limits, band), 0.25f);
        EXPECT_EQ(PinchMotion::rubberBanded(0.7f, limits, band), 0.7f);
    }
}

TEST(PinchMotion, ThrowsNoFurtherThanATenth) {
    EXPECT_FLOAT_EQ(PinchMotion::thrown({0.5f, 0}, 0.1f).x, 0.01f);
    const float2 far = PinchMotion::thrown({30, -40}, 0.1f);
    EXPECT_FLOAT_EQ(far.x, 0.06f);
    EXPECT_FLOAT_EQ(far.y, -0.08f);
}

TEST(PinchMotion, ThrowsNothingWithoutSpeedOrTime) {
    EXPECT_EQ(PinchMotion::thrown({0.001f, 0}, 0.1f), float2(0, 0));
    EXPECT_EQ(PinchMotion::thrown({5, 5}, 0.001f), float2(0, 0));
    EXPECT_NE(PinchMotion::thrown({0.0011f, 0}, 0.0011f), float2(0, 0));
}

TEST(FollowSpring, IntegratesInStepsOfFiveMilliseconds) {
    const float2 target{0.3f, -0.2f};
    FollowSpring byHand;
    for (int step = 0; step < 20; ++step) {
        const float2 acceleration = 800.0f * (target - byHand.position) - 56.57f * byHand.velocity;
        byHand.velocity += acceleration * 0.005f;
        byHand.position += byHand.velocity * 0.005f;
    }
    const auto spring = FollowSpring{}.after(0.1, target, 800, 56.57f);
    EXPECT_NEAR(spring.position.x, byHand.position.x, 1e-6f);
    EXPECT_NEAR(spring.position.y, byHand.position.y, 1e-6f);
    EXPECT_NEAR(spring.velocity.x, byHand.velocity.x, 1e-5f);
}

TEST(FollowSpring, TakesAnyLongerGapForATenthOfASecond) {
    const auto tenth = FollowSpring{}.after(0.1, {1, 1}, 800, 56.57f);
    const auto second = FollowSpring{}.after(1, {1, 1}, 800, 56.57f);
    EXPECT_EQ(second.position, tenth.position);
    EXPECT_EQ(second.velocity, tenth.velocity);
}

TEST(FollowSpring, StandsStillWhenNoTimePasses) {
    const FollowSpring spring{{0.1f, 0.2f}, {3, 4}};
    for (const double seconds : {0.0, -1.0}) {
        const auto after = spring.after(seconds, {1, 1}, 800, 56.57f);
        EXPECT_EQ(after.position, spring.position);
        EXPECT_EQ(after.velocity, spring.velocity);
    }
}

TEST(FollowSpring, FollowsDirectlyWhenItsTuningLetsItExplode) {
    const auto spring = FollowSpring{}.after(0.1, {0.5f, 0}, 999'999, 999'999);
    EXPECT_EQ(spring.position, float2(0.5f, 0));
    EXPECT_EQ(spring.velocity, float2(0, 0));
}

} // namespace lanternfly
