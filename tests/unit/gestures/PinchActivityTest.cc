#include "gestures/PinchActivity.h"

#include <gtest/gtest.h>

namespace lanternfly {
namespace {

TEST(PinchActivityTest, ObserversHearEachChangeOnce) {
    PinchActivity activity;
    EXPECT_FALSE(activity.isPinching());
    int told = 0;
    const auto token = activity.changes.observe([&] { ++told; });

    activity.setPinching(true);
    EXPECT_TRUE(activity.isPinching());
    EXPECT_EQ(told, 1);
    activity.setPinching(true);
    EXPECT_EQ(told, 1);
    activity.setPinching(false);
    EXPECT_FALSE(activity.isPinching());
    EXPECT_EQ(told, 2);

    activity.changes.unobserve(token);
    activity.setPinching(true);
    EXPECT_EQ(told, 2);
}

} // namespace
} // namespace lanternfly
