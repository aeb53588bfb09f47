#include "gestures/OneEuroFilter.h"

#include <algorithm>
#include <cmath>
#include <random>

#include <gtest/gtest.h>

namespace lanternfly {
namespace {

TEST(OneEuroFilterTest, TheFirstSampleComesBackAsItIs) {
    OneEuroFilter filter(1.5f, 0.05f, 1.0f);
    EXPECT_EQ(filter.filter(0.123456f, 7.0), 0.123456f);
    EXPECT_EQ(filter.smoothedDerivative(), 0);
}

TEST(OneEuroFilterTest, ResetForgetsTheSamplesAndKeepsTheParameters) {
    OneEuroFilter filter(1.5f, 0.05f, 0.7f);
    filter.filter(0.1f, 1.0);
    filter.filter(0.9f, 1.1);
    EXPECT_NE(filter.smoothedDerivative(), 0);

    filter.reset();
    EXPECT_EQ(filter, OneEuroFilter(1.5f, 0.05f, 0.7f));
    EXPECT_EQ(filter.smoothedDerivative(), 0);
    EXPECT_EQ(filter.filter(0.4f, 0.5), 0.4f);
    EXPECT_EQ(filter.smoothedDerivative(), 0);
}

// The formulas evaluated outside the engine, every operation rounded to single precision.
TEST(OneEuroFilterTest, FollowsTheFormulasSampleBySample) {
    struct Row {
        double seconds;
        float input, output, derivative;
    };
    constexpr Row rows[] = {
        {0, 0.5f, 0.5f, 0},
        {0.033, 0.5f, 0.5f, 0},
        {0.066, 0.529999971f, 0.507145226f, 0.156123862f},
        {0.1, 0.610000014f, 0.532446384f, 0.542817712f},
        {0.133, 0.610000014f, 0.551054299f, 0.449596137f},
        {0.133, 0.600000024f, 0.551054776f, 0.386761934f}, // the same time again
        {0.12, 0.579999983f, 0.551055074f, 0.261096358f},  // backwards
        {0.2, 0.300000012f, 0.44111824f, -0.997032166f},
        {1.2, 0.310000002f, 0.322529137f, -0.128268063f},
    };
    OneEuroFilter filter(1.5f, 0.05f, 1.0f);
    for (const Row& row : rows) {
        EXPECT_FLOAT_EQ(filter.filter(row.input, row.seconds), row.output) << row.seconds;
        EXPECT_FLOAT_EQ(filter.smoothedDerivative(), row.derivative) << row.seconds;
    }
}

TEST(OneEuroFilterTest, ARepeatedTimeCountsAsOneMicrosecondLater) {
    OneEuroFilter repeated(1.5f, 0.05f, 1.0f), later = repeated;
    repeated.filter(0.2f, 0);
    later.filter(0.2f, 0);
    const float output = repeated.filter(0.8f, 0);
    EXPECT_TRUE(std::isfinite(output));
    EXPECT_EQ(output, later.filter(0.8f, 0.000001));
    EXPECT_EQ(repeated.smoothedDerivative(), later.smoothedDerivative());
}

TEST(OneEuroFilterTest, AnEarlierTimeCountsAsOneMicrosecondLater) {
    OneEuroFilter earlier(1.5f, 0.05f, 1.0f), repeated = earlier;
    earlier.filter(0.2f, 50);
    repeated.filter(0.2f, 50);
    EXPECT_EQ(earlier.filter(0.8f, 3), repeated.filter(0.8f, 50));
    EXPECT_EQ(earlier.smoothedDerivative(), repeated.smoothedDerivative());
}

TEST(OneEuroFilterTest, WithoutBetaItIsAPlainLowPass) {
    constexpr double cutoff = 1.5, step = 0.02;
    const double weight = 1 / (1 + 1 / (2 * M_PI * cutoff) / step);
    OneEuroFilter filter(static_cast<float>(cutoff), 0, 1.0f);
    double expected = 0;
    for (int i = 0; i < 100; ++i) {
        const double input = std::sin(i * 0.3);
        expected = i == 0 ? input : weight * input + (1 - weight) * expected;
        EXPECT_NEAR(filter.filter(static_cast<float>(input), i * step), expected, 1e-5) << i;
    }
}

TEST(OneEuroFilterTest, TheDerivativeIsTakenAgainstTheRawSampleBefore) {
    OneEuroFilter filter(0.01f, 0, 1e9f); // heavy smoothing of values, none of speed
    filter.filter(0, 0);
    filter.filter(1, 1);
    EXPECT_NEAR(filter.smoothedDerivative(), 1, 1e-5);
    filter.filter(1, 2);
    EXPECT_NEAR(filter.smoothedDerivative(), 0, 1e-5) << "the raw input has stopped";
}

TEST(OneEuroFilterTest, BetaLetsAFastHandThroughSooner) {
    OneEuroFilter slow(1.0f, 0, 1.0f), fast(1.0f, 5.0f, 1.0f);
    for (OneEuroFilter* filter : {&slow, &fast})
        filter->filter(0, 0);
    EXPECT_LT(slow.filter(1, 0.03), fast.filter(1, 0.03));
}

TEST(OneEuroFilterTest, TheOutputNeverLeavesTheRangeOfItsInputs) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> value(0, 1), step(-0.01f, 0.05f);
    OneEuroFilter filter(1.5f, 0.05f, 1.0f);
    double seconds = 0;
    for (int i = 0; i < 5000; ++i) {
        seconds += static_cast<double>(step(random));
        const float output = filter.filter(value(random), seconds);
        ASSERT_GE(output, -1e-6f);
        ASSERT_LE(output, 1 + 1e-6f);
    }
}

TEST(OneEuroFilter2DTest, AfterOneSampleTheVelocityIsZero) {
    OneEuroFilter2D filter(1.5f, 0.05f, 1.0f);
    EXPECT_EQ(filter.filter({0.3f, 0.7f}, 1), (float2{0.3f, 0.7f}));
    EXPECT_EQ(filter.smoothedVelocity(), (float2{0, 0}));
}

TEST(OneEuroFilter2DTest, EachAxisIsAFilterOfItsOwn) {
    OneEuroFilter2D both(1.5f, 0.05f, 1.0f);
    OneEuroFilter x(1.5f, 0.05f, 1.0f), y = x;
    for (int i = 0; i < 10; ++i) {
        const float2 point{0.1f * static_cast<float>(i), 1 - 0.02f * static_cast<float>(i * i)};
        const double seconds = 0.03 * i;
        EXPECT_EQ(both.filter(point, seconds),
                  (float2{x.filter(point.x, seconds), y.filter(point.y, seconds)}));
    }
    EXPECT_EQ(both.smoothedVelocity(), (float2{x.smoothedDerivative(), y.smoothedDerivative()}));
    both.reset();
    EXPECT_EQ(both, OneEuroFilter2D(1.5f, 0.05f, 1.0f));
}

} // namespace
} // namespace lanternfly
