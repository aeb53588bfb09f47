#include <gtest/gtest.h>

#include "app/StageTransition.h"

namespace lanternfly {
namespace {

using Look = StageTransition::Look;
constexpr double frame = StageTransition::dipSeconds / 4;

TEST(StageTransition, TheFirstFrameIsAsWanted) {
    StageTransition transition;
    const Look wanted{SwapComposition{}, 0.5f};
    EXPECT_EQ(transition.advance(wanted, 7), wanted);
}

TEST(StageTransition, ASwapHappensInTheDark) {
    StageTransition transition;
    transition.advance({}, 0);
    const Look swapped{SwapComposition{SwapFillMode::fill}, 0};
    for (int i = 1; i < 4; ++i) {
        const Look look = transition.advance(swapped, i * frame);
        EXPECT_EQ(look.mode, CompositionMode(FullComposition{}));
        EXPECT_NEAR(look.darkening, i / 4.0, 1e-5);
    }
    EXPECT_EQ(transition.advance(swapped, 4.001 * frame), (Look{swapped.mode, 1}));
    EXPECT_NEAR(transition.advance(swapped, 6 * frame).darkening, 0.5, 0.01);
    EXPECT_EQ(transition.advance(swapped, 9 * frame), swapped);
}

TEST(StageTransition, ASwapThatIsTakenBackInTimeOnlyDips) {
    StageTransition transition;
    transition.advance({}, 0);
    EXPECT_NEAR(transition.advance({SwapComposition{}, 0}, 2 * frame).darkening, 0.5, 1e-5);
    EXPECT_EQ(transition.advance({}, 4.01 * frame), Look{});
}

TEST(StageTransition, DarkeningComesAndGoesEvenly) {
    StageTransition transition;
    transition.advance({}, 0);
    const double half = StageTransition::darkenSeconds / 2;
    EXPECT_NEAR(transition.advance({{}, 1}, half).darkening, 0.5, 1e-5);
    EXPECT_EQ(transition.advance({{}, 1}, 5).darkening, 1);
    EXPECT_NEAR(transition.advance({{}, 0.2f}, 5 + half).darkening, 0.5, 1e-5);
    EXPECT_FLOAT_EQ(transition.advance({{}, 0.2f}, 9).darkening, 0.2f);
}

TEST(StageTransition, AClockThatStandsStillOrGoesBackChangesNothing) {
    StageTransition transition;
    transition.advance({}, 5);
    EXPECT_EQ(transition.advance({SwapComposition{}, 1}, 5), Look{});
    EXPECT_EQ(transition.advance({SwapComposition{}, 1}, 4), Look{});
}

} // namespace
} // namespace lanternfly
