#include "motion/TransformBias.h"

#include <limits>

#include <gtest/gtest.h>

namespace lanternfly {

namespace {

const BiasConfig defaults = BiasConfig::defaults;

} // namespace

TEST(TransformBias, DrawsAPositionAtHalfTheRadiusCloser) {
    const float2 biased = TransformBias::biasedPosition({0.04f, 0}, defaults);
    EXPECT_FLOAT_EQ(biased.x, 0.03575f);
    EXPECT_EQ(biased.y, 0.0f);
}

TEST(TransformBias, LeavesTheCentreAndTheRadiusAlone) {
    for (const float2 position :
         {float2(0, 0), float2(0.08f, 0), float2(0, -0.08f), float2(0.3f, -0.2f)})
        EXPECT_EQ(TransformBias::biasedPosition(position, defaults), position);
}

TEST(TransformBias, DrawsAScaleAtHalfTheRadiusCloser) {
    EXPECT_FLOAT_EQ(TransformBias::biasedScale(0.97f, 1, defaults), 0.9731875f);
    EXPECT_FLOAT_EQ(TransformBias::biasedScale(1.03f, 1, defaults), 1.0268125f);
}

TEST(TransformBias, ReturnsTheFillScaleAndScalesAtTheRadiusExactly) {
    for (const float scale : {1.0f, 0.5f, 1.25f})
        EXPECT_EQ(TransformBias::biasedScale(scale, 1, defaults), scale);
    const BiasConfig half{.fillRadius = 0.5f};
    EXPECT_EQ(TransformBias::biasedScale(1.5f, 1, half), 1.5f);
}

TEST(TransformBias, ChangesNothingWhenDisabled) {
    for (float at = -0.1f; at <= 0.1f; at += 0.013f) {
        const OverlayTransform transform{{at, at / 2}, 1 + at, 0.5f};
        EXPECT_EQ(TransformBias::apply(transform, BiasConfig::disabled, 1), transform);
    }
}

TEST(TransformBias, BiasesPositionAndScaleAndKeepsVisibility) {
    const auto biased = TransformBias::apply({{0, 0.04f}, 0.47f, 0.25f}, defaults, 0.5f);
    EXPECT_FLOAT_EQ(biased.position.y, 0.03575f);
    EXPECT_FLOAT_EQ(biased.scale, 0.5f - 0.03f * 0.89375f);
    EXPECT_EQ(biased.visibility, 0.25f);
}

TEST(TransformBias, ReturnsAScaleWhoseDistanceIsNotANumber) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(TransformBias::biasedScale(0.97f, nan, defaults), 0.97f);
    EXPECT_EQ(TransformBias::biasedScale(0.97f, 1, {.fillRadius = nan}), 0.97f);
}

} // namespace lanternfly
