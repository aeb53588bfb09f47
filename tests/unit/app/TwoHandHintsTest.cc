#include <gtest/gtest.h>

#include "app/TwoHandHints.h"

namespace lanternfly {
namespace {

constexpr bool isMirrored = true;
const VisibleHand open{{0.25f, 0.5f}, false}, pinching{{0.75f, 0.5f}, true};

TEST(TwoHandHints, StayAwayUnlessBothHandsAreSeen) {
    for (const VisibleHands& hands :
         {VisibleHands{}, VisibleHands{open, {}}, VisibleHands{{}, pinching}}) {
        TwoHandHints hints;
        for (int frame = 0; frame < 10; ++frame) {
            const auto dots = hints.advance(hands, isMirrored, frame / 10.0);
            EXPECT_EQ(dots.leftDotOpacity, 0);
            EXPECT_EQ(dots.rightDotOpacity, 0);
        }
    }
}

TEST(TwoHandHints, AreFaintForAnOpenHandAndFullForOneThatPinches) {
    TwoHandHints hints;
    hints.advance({open, pinching}, isMirrored, 0);
    const auto dots = hints.advance({open, pinching}, isMirrored, 1);
    EXPECT_FLOAT_EQ(dots.leftDotOpacity, TwoHandHints::openOpacity);
    EXPECT_EQ(dots.rightDotOpacity, 1);
    EXPECT_EQ(dots.leftDotPosition, float2(-0.5f, 0));
    EXPECT_EQ(dots.rightDotPosition, float2(0.5f, 0));
    EXPECT_EQ(hints.advance({open, pinching}, !isMirrored, 1).leftDotPosition, float2(0.5f, 0));
}

TEST(TwoHandHints, FadeInAndOutWhereTheHandsWereLast) {
    TwoHandHints hints;
    hints.advance({pinching, pinching}, isMirrored, 0);
    hints.advance({pinching, pinching}, isMirrored, 1);
    const auto fading =
        hints.advance({pinching, {}}, isMirrored, 1 + TwoHandHints::fadeSeconds / 2);
    EXPECT_NEAR(fading.leftDotOpacity, 0.5, 1e-5);
    EXPECT_NEAR(fading.rightDotOpacity, 0.5, 1e-5);
    EXPECT_EQ(fading.rightDotPosition, float2(0.5f, 0));
    EXPECT_EQ(hints.advance({pinching, {}}, isMirrored, 2).rightDotOpacity, 0);
}

TEST(TwoHandHints, FollowTheHandWithoutItsTremble) {
    TwoHandHints hints;
    VisibleHands hands{pinching, pinching};
    hints.advance(hands, isMirrored, 0);
    hints.advance(hands, isMirrored, 1);
    hands.left->at.x = 0.85f;
    const float on =
        hints.advance(hands, isMirrored, 1 + TwoHandHints::followSeconds).leftDotPosition.x;
    EXPECT_NEAR(on, 0.5 + 0.2 * 0.632, 0.001);
    EXPECT_NEAR(hints.advance(hands, isMirrored, 3).leftDotPosition.x, 0.7, 1e-5);
}

TEST(TwoHandHints, ADotThatComesBackDoesNotSlideAcrossThePicture) {
    TwoHandHints hints;
    hints.advance({open, pinching}, isMirrored, 0);
    hints.advance({open, pinching}, isMirrored, 1);
    hints.advance({}, isMirrored, 2);
    VisibleHands hands{open, pinching};
    hands.left->at = {0.9f, 0.9f};
    EXPECT_NEAR(hints.advance(hands, isMirrored, 2.01).leftDotPosition.x, 0.8, 1e-5);
}

} // namespace
} // namespace lanternfly
