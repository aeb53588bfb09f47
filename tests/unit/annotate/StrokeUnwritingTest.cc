#include "annotate/StrokeUnwriting.h"

#include <cmath>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lanternfly {
namespace {

using Points = std::vector<Stroke::Point>;
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinite = std::numeric_limits<double>::infinity();

// 10 to the right, then 30 up.
const Points corner{{0, 0}, {10, 0}, {10, 30}};

TEST(PolylineLength, IsTheSumOfItsSegments) {
    EXPECT_EQ(polylineLengthPX(corner), 40);
    EXPECT_EQ(polylineLengthPX(Points{{3, 4}}), 0);
    EXPECT_EQ(polylineLengthPX(Points{}), 0);
    EXPECT_EQ(polylineLengthPX(Points{{0, 0, 99}, {3, 4, -99}}), 5) << "two coordinates count";
}

TEST(PolylineLength, APointWithTooFewCoordinatesAddsNothing) {
    EXPECT_EQ(polylineLengthPX(Points{{0, 0}, {7}, {10, 0}, {10, 5}}), 5);
    EXPECT_EQ(polylineLengthPX(Points{{}, {}, {}}), 0);
}

TEST(UnwriteDuration, GrowsWithTheLengthUpToTheReference) {
    struct Row {
        double lengthPX, referenceLengthPX, seconds;
    };
    for (const Row& row : {Row{0, 600, 0.3},
                           {300, 600, 0.35},
                           {600, 600, 0.4},
                           {9000, 600, 0.4},
                           // A reference of 1 or less: the length itself is the ratio.
                           {1, 1, 0.4},
                           {500, 1, 0.4},
                           {0.5, 1, 0.35},
                           {0.5, 0.01, 0.35},
                           {1, 0, 0.4},
                           {0, 0, 0.3},
                           {1, -600, 0.4},
                           // Lengths that cannot be.
                           {-5, 600, 0.3},
                           {notANumber, 600, 0.4},
                           {infinite, 600, 0.4},
                           {300, notANumber, 0.4},
                           {infinite, infinite, 0.4}})
        EXPECT_NEAR(
            UnwriteDuration{.referenceLengthPX = row.referenceLengthPX}.seconds(row.lengthPX),
            row.seconds, 1e-12)
            << row.lengthPX << " of " << row.referenceLengthPX;
}

TEST(UnwriteDuration, TheTwoEndsMayBeTheOtherWayRound) {
    const UnwriteDuration quickWhenLong{.minSeconds = 2, .maxSeconds = 1};
    EXPECT_EQ(quickWhenLong.seconds(0), 2);
    EXPECT_EQ(quickWhenLong.seconds(300), 1.5);
    EXPECT_EQ(quickWhenLong.seconds(600), 1);
}

TEST(KeptPart, ShortensFromTheEnd) {
    EXPECT_EQ(keptPart(corner, 0.5), (Points{{0, 0}, {10, 0}, {10, 10}}));
    EXPECT_EQ(keptPart(corner, 0.125), (Points{{0, 0}, {5, 0}}));
    EXPECT_EQ(keptPart(corner, 0.25), (Points{{0, 0}, {10, 0}, {10, 0}}))
        << "the segment that passes the target is cut at its very start";
}

TEST(KeptPart, KeepsAllOrNothingAtTheEnds) {
    for (const double all : {1.0, 2.0, infinite})
        EXPECT_EQ(keptPart(corner, all), corner);
    for (const double none : {0.0, -1.0, notANumber})
        EXPECT_EQ(keptPart(corner, none), Points{});
    EXPECT_EQ(keptPart(Points{}, 0.5), Points{});
}

TEST(KeptPart, AStrokeWithoutLengthStaysWhole) {
    for (const Points& still : {Points{{3, 4}}, Points{{3, 4}, {3, 4}}, Points{{3}, {4}},
                                Points{{0, 0}, {notANumber, 1}, {5, 5}}})
        EXPECT_EQ(keptPart(still, 0.5).size(), still.size());
    EXPECT_EQ(keptPart(Points{{0, 0}, {infinite, 0}}, 0.5).size(), 2u);
}

TEST(KeptPart, PointsWithTooFewCoordinatesAreCarriedAlong) {
    EXPECT_EQ(keptPart(Points{{}, {0, 0}, {10, 0}, {1}, {0, 0}, {10, 0}}, 0.75),
              (Points{{}, {0, 0}, {10, 0}, {1}, {0, 0}, {5, 0}}));
}

TEST(KeptPart, HasTheLengthThatWasAskedFor) {
    Points spiral;
    for (int i = 0; i < 100; ++i)
        spiral.push_back({i * std::cos(0.3 * i), i * std::sin(0.3 * i)});
    const double whole = polylineLengthPX(spiral);
    for (int percent = 1; percent < 100; ++percent) {
        const Points kept = keptPart(spiral, percent / 100.0);
        EXPECT_NEAR(polylineLengthPX(kept), whole * percent / 100.0, 1e-9 * whole);
        EXPECT_EQ(kept.front(), spiral.front());
    }
}

} // namespace
} // namespace lanternfly
