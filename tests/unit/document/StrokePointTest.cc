#include "document/StrokePoint.h"

#include <vector>

#include <gtest/gtest.h>

namespace lanternfly {
namespace {

std::vector<double> numbersOf(const StrokePoint& point) {
    return {point.begin(), point.end()};
}

TEST(StrokePoint, HoldsUpToThreeNumbersAndDropsTheRest) {
    StrokePoint point;
    EXPECT_EQ(point.size(), 0u);
    EXPECT_TRUE(numbersOf(point).empty());
    for (const double number : {4.0, 5.0, 6.0, 7.0, 8.0})
        point.push_back(number);
    EXPECT_EQ(numbersOf(point), (std::vector{4.0, 5.0, 6.0}));
    EXPECT_EQ(point, (StrokePoint{4, 5, 6, 7}));
}

TEST(StrokePoint, IsEqualToOneOfTheSameNumbersOnly) {
    EXPECT_EQ((StrokePoint{1, 2}), (StrokePoint{1, 2}));
    EXPECT_NE((StrokePoint{1, 2}), (StrokePoint{1, 3}));
    EXPECT_NE((StrokePoint{1}), (StrokePoint{1, 0}));
}

} // namespace
} // namespace lanternfly
