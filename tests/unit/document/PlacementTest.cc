#include "document/Placement.h"

#include <cmath>

#include <gtest/gtest.h>

namespace lanternfly {
namespace {

TEST(Placement, TheNeutralPositionSnapsToTheCentreAtMediumSize) {
    EXPECT_EQ(Position{}.snappedToAnchor(), (Position::Snapped{Anchor::center, SizeClass::medium}));
}

TEST(Placement, EveryGridPlaceSnapsToItselfInReadingOrder) {
    const double ys[] = {1, 0, -1};
    const double xs[] = {-1, 0, 1};
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            const int index = 3 * row + column;
            const auto expected = index == 4 ? Anchor::center : static_cast<Anchor>(index);
            const Position position{.x = xs[column], .y = ys[row]};
            EXPECT_EQ(position.snappedToAnchor().anchor, expected) << index;
        }
    }
}

TEST(Placement, DepthsSnapToTheNearestSizeClass) {
    EXPECT_EQ((Position{.z = 1}).snappedToAnchor().depth, SizeClass::large);
    EXPECT_EQ((Position{.z = 0.76}).snappedToAnchor().depth, SizeClass::large);
    EXPECT_EQ((Position{.z = 0.5}).snappedToAnchor().depth, SizeClass::medium);
    EXPECT_EQ((Position{.z = 0.24}).snappedToAnchor().depth, SizeClass::small);
    EXPECT_EQ((Position{.z = -3}).snappedToAnchor().depth, SizeClass::small);
}

TEST(Placement, CoordinatesThatAreNotNumbersCountAsNeutral) {
    const Position position{.x = NAN, .y = NAN, .z = NAN};
    EXPECT_EQ(position.snappedToAnchor(), Position{}.snappedToAnchor());
}

TEST(Placement, PlacingAtAPositionKeepsItAndSnapsTheRest) {
    const auto placement = Placement::at({.x = 0.9, .y = -0.8, .z = 1});
    EXPECT_EQ(placement.position, (Position{.x = 0.9, .y = -0.8, .z = 1}));
    EXPECT_EQ(placement.anchor, Anchor::bottomRight);
    EXPECT_EQ(placement.sizeClass, SizeClass::large);
}

} // namespace
} // namespace lanternfly
