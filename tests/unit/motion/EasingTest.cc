#include "motion/Easing.h"

#include <limits>

#include <gtest/gtest.h>

namespace lanternfly {

namespace {

struct Case {
    const char* name;
    EasingCurve curve;
    float atQuarter;
    float atHalf;
};
const Case cases[] = {
    {"easeInOut", Easing::easeInOut, 0.15625f, 0.5f},
    {"easeOut", Easing::easeOut, 0.578125f, 0.875f},
    {"releaseSpring", Easing::releaseSpring, 0.7626953125f, 0.96875f},
    {"smootherStep", Easing::smootherStep, 0.103515625f, 0.5f},
};

} // namespace

TEST(Easing, FollowsItsFormula) {
    for (const auto& [name, curve, atQuarter, atHalf] : cases) {
        SCOPED_TRACE(name);
        EXPECT_FLOAT_EQ(curve(0.25f), atQuarter);
        EXPECT_FLOAT_EQ(curve(0.5f), atHalf);
        EXPECT_EQ(curve(0), 0.0f);
        EXPECT_EQ(curve(1), 1.0f);
    }
}

TEST(Easing, ClampsTimeAndTakesNotANumberForTheBeginning) {
    for (const auto& [name, curve, atQuarter, atHalf] : cases) {
        SCOPED_TRACE(name);
        EXPECT_EQ(curve(-0.5f), 0.0f);
        EXPECT_EQ(curve(7), 1.0f);
        EXPECT_EQ(curve(std::numeric_limits<float>::infinity()), 1.0f);
        EXPECT_EQ(curve(std::numeric_limits<float>::quiet_NaN()), 0.0f);
    }
}

} // namespace lanternfly
