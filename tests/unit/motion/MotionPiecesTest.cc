#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "motion/ConfirmationPulse.h"
#include "motion/ScaleEnvelope.h"
#include "motion/TargetVelocity.h"
#include "motion/TiltSpring.h"
#include "motion/TransformAnimation.h"

namespace lanternfly {

namespace {

constexpr float tiltDrive = 0.003f;

} // namespace

TEST(ScaleEnvelope, IsOpaqueInTheMiddleAndSeeThroughAtTheEnds) {
    const OpacityConfig config;
    const struct {
        float scale, factor;
    } cases[] = {{0.1f, 0.85f}, {0.2f, 0.85f}, {0.3f, 0.925f},  {0.36f, 0.9844f}, {0.4f, 1},
                 {0.55f, 1},    {0.7f, 1},     {0.85f, 0.925f}, {1, 0.85f},       {1.4f, 0.85f}};
    for (const auto& [scale, factor] : cases)
        EXPECT_NEAR(ScaleEnvelope::opacityFactor(scale, config), factor, 1e-5f) << scale;
    EXPECT_EQ(ScaleEnvelope::opacityFactor(0.4f, config), 1.0f);
    EXPECT_EQ(ScaleEnvelope::opacityFactor(0.7f, config), 1.0f);
}

TEST(ScaleEnvelope, BlursBehindLargeOverlays) {
    EXPECT_EQ(ScaleEnvelope::blur(0.36f), 0.0f);
    EXPECT_EQ(ScaleEnvelope::blur(0.6f), 0.0f);
    EXPECT_NEAR(ScaleEnvelope::blur(0.8f), 6, 1e-5f);
    EXPECT_EQ(ScaleEnvelope::blur(1), 12.0f);
    EXPECT_EQ(ScaleEnvelope::blur(1.4f), 12.0f);
}

TEST(TargetVelocity, NeedsTwoSamplesAtDifferentTimes) {
    TargetVelocity velocity;
    EXPECT_EQ(velocity.estimate(1), float2(0, 0));
    velocity.append(1, {0.1f, 0});
    EXPECT_EQ(velocity.estimate(1), float2(0, 0));
    velocity.append(1, {0.9f, 0});
    EXPECT_EQ(velocity.estimate(1), float2(0, 0));
}

TEST(TargetVelocity, WeighsSpeedsByTheirAge) {
    TargetVelocity velocity;
    velocity.append(0, {0, 0});
    velocity.append(0.1, {0.1f, 0});     // 1 per second, 0.15 s old at the end
    velocity.append(0.25, {0.1f, 0.3f}); // (0, 2) per second, new
    const float old = std::exp(-1.0f);
    const float2 estimate = velocity.estimate(0.25);
    EXPECT_NEAR(estimate.x, old / (1 + old), 1e-6f);
    EXPECT_NEAR(estimate.y, 2 / (1 + old), 1e-6f);
}

TEST(TargetVelocity, ForgetsAllButTheNewestEight) {
    TargetVelocity velocity;
    velocity.append(0, {100, 0});
    for (int sample = 1; sample <= 8; ++sample)
        velocity.append(sample / 60.0, {0.5f, 0});
    EXPECT_EQ(velocity.count(), TargetVelocity::capacity);
    EXPECT_EQ(velocity.estimate(8 / 60.0), float2(0, 0));
}

TEST(TiltSpring, TakesASixtiethOfASecondForItsFirstStep) {
    TiltSpring spring;
    const float2 degrees = spring.step({0.1f, 0}, TiltConfig::defaults, tiltDrive, 1000);
    const float dt = 1.0f / 60;
    const float target = -(0.1f / dt) * tiltDrive;
    EXPECT_NEAR(degrees.x, 0, 1e-9f);
    EXPECT_NEAR(degrees.y, 180 * target * dt * dt * 57.29578f, 1e-5f);
}

TEST(TiltSpring, TakesAGapForFiftyMillisecondsAndNoTimeForOne) {
    for (const auto& [gap, taken] : {std::pair{3.0, 0.05}, std::pair{0.0, 0.001}}) {
        TiltSpring gapped, exact;
        gapped.step({0, 0}, TiltConfig::defaults, tiltDrive, 1000);
        exact.step({0, 0}, TiltConfig::defaults, tiltDrive, 1000);
        const float2 a = gapped.step({0, 0.2f}, TiltConfig::defaults, tiltDrive, 1000 + gap);
        const float2 b = exact.step({0, 0.2f}, TiltConfig::defaults, tiltDrive, 1000 + taken);
        EXPECT_NE(a.x, 0.0f);
        EXPECT_NEAR(a.x, b.x, 1e-6f);
    }
}

TEST(TiltSpring, TipsAboutTheHorizontalAxisForVerticalAccelerationAndAgainstItForHorizontal) {
    TiltSpring spring;
    const float2 degrees = spring.step({0.1f, 0.2f}, TiltConfig::defaults, tiltDrive, 1000);
    EXPECT_GT(degrees.x, 0);
    EXPECT_LT(degrees.y, 0);
    EXPECT_NEAR(degrees.x, -2 * degrees.y, 1e-5f);
}

TEST(TiltSpring, NeverLeansFurtherThanItsGreatestAngle) {
    TiltSpring spring;
    double now = 1000;
    float greatest = 0;
    for (int frame = 0; frame < 200; ++frame) {
        const float speed = static_cast<float>(frame) * 5;
        const float2 degrees = spring.step({speed, -speed}, TiltConfig::defaults, 1, now += 0.016);
        greatest = std::max({greatest, std::abs(degrees.x), std::abs(degrees.y)});
    }
    EXPECT_NEAR(greatest, 2.5f, 1e-4f);
}

TEST(TiltSpring, ReturnsToRestWhenItsTuningLetsItExplode) {
    TiltConfig config;
    config.damping = 1e6f;
    config.stiffness = 1e6f;
    TiltSpring spring;
    for (int frame = 0; frame < 100; ++frame) {
        const float2 degrees =
            spring.step({static_cast<float>(frame % 2), 0}, config, 1, 1000 + frame * 0.05);
        ASSERT_LE(std::abs(degrees.y), 2.50001f);
    }
}

TEST(ConfirmationPulse, DecaysAndIsCutOff) {
    ConfirmationPulse pulse;
    pulse.trigger(0.1f, 15, 10);
    EXPECT_NEAR(pulse.tick(10.1), 0.0223f, 0.0001f);
    EXPECT_NEAR(pulse.tick(10.2), 0.00498f, 0.0001f);
    EXPECT_EQ(pulse.tick(10.5), 0.0f);
    EXPECT_EQ(pulse.amplitude, 0.0f);
}

TEST(ConfirmationPulse, IgnoresWhatIsNotAboveZeroOrNotANumber) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    ConfirmationPulse pulse;
    for (const auto& [magnitude, rate] :
         {std::pair{0.0f, 15.0f}, std::pair{-1.0f, 15.0f}, std::pair{nan, 15.0f},
          std::pair{infinity, 15.0f}, std::pair{0.1f, nan}, std::pair{0.1f, infinity}}) {
        pulse.trigger(magnitude, rate, 10);
        EXPECT_EQ(pulse.tick(10), 0.0f);
    }
}

TEST(ConfirmationPulse, DecaysAtLeastALittle) {
    ConfirmationPulse pulse;
    pulse.trigger(0.1f, -4, 10);
    EXPECT_EQ(pulse.decayRate, 0.001f);
}

TEST(TransformAnimation, TakesATargetAtOnceWithoutADurationOrAWay) {
    TransformAnimation animation{.target = {{0, 0}, 0.36f, 1}};
    animation.retarget({{0.2f, 0}, 0.5f, 1}, 0, Easing::easeInOut, 5);
    EXPECT_FALSE(animation.isAnimating);
    EXPECT_EQ(animation.at(5), animation.target);
    EXPECT_EQ(animation.start, animation.target);

    animation.retarget(animation.target, 1, Easing::easeInOut, 6);
    EXPECT_FALSE(animation.isAnimating);
    animation.retarget({{0.3f, 0}, 0.5f, 1}, std::nan(""), Easing::easeInOut, 7);
    EXPECT_FALSE(animation.isAnimating);
}

TEST(TransformAnimation, SetsOutFromWhatIsOnScreen) {
    TransformAnimation animation{.target = {{0, 0}, 0.4f, 0}};
    animation.retarget({{0.4f, -0.2f}, 0.8f, 1}, 2, Easing::easeInOut, 10);
    const OverlayTransform halfway{{0.2f, -0.1f}, 0.6f, 0.5f};
    EXPECT_EQ(animation.at(11), halfway);
    animation.retarget({{-0.4f, 0}, 0.2f, 1}, 1, Easing::easeOut, 11);
    EXPECT_EQ(animation.start, halfway);
    EXPECT_EQ(animation.at(11), halfway);
    EXPECT_EQ(animation.at(12), animation.target);
}

TEST(TransformAnimation, ComesToRestWhenItsTimeIsOver) {
    TransformAnimation animation{.target = {{0, 0}, 0.4f, 1}};
    animation.retarget({{0.4f, 0}, 0.4f, 1}, 0.5, Easing::easeInOut, 10);
    animation.settle(10.25);
    EXPECT_TRUE(animation.isAnimating);
    animation.settle(10.5);
    EXPECT_FALSE(animation.isAnimating);
    EXPECT_EQ(animation.start, animation.target);
}

TEST(TransformAnimation, StaysAtItsStartForATimeBeforeIt) {
    TransformAnimation animation{.target = {{0, 0}, 0.4f, 1}};
    animation.retarget({{0.4f, 0}, 0.4f, 1}, 0.5, Easing::easeInOut, 10);
    EXPECT_EQ(animation.at(9.9), animation.start);
}

TEST(TransformAnimation, GoesToItsTargetByACurveThatIsNotANumber) {
    TransformAnimation animation{.target = {{0, 0}, 0.4f, 1}};
    animation.retarget(
        {{0.4f, 0}, 0.4f, 1}, 1, [](float) { return std::nanf(""); }, 10);
    EXPECT_EQ(animation.at(10.5), animation.target);
}

} // namespace lanternfly
