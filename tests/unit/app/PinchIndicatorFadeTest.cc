#include <gtest/gtest.h>

#include "app/PinchIndicatorFade.h"

namespace lanternfly {
namespace {

TEST(PinchIndicatorFade, StaysHiddenWithoutAPinch) {
    PinchIndicatorFade fade;
    for (int frame = 0; frame < 10; ++frame)
        EXPECT_EQ(fade.advance(false, frame / 30.0).opacity, 0);
}

TEST(PinchIndicatorFade, IsHalfInAfterHalfTheFadeAndFullAfterIt) {
    PinchIndicatorFade fade;
    fade.advance(false, 10);
    EXPECT_NEAR(fade.advance(true, 10 + PinchIndicatorFade::fadeInSeconds / 2).opacity, 0.5, 1e-6);
    EXPECT_EQ(fade.advance(true, 10 + 2 * PinchIndicatorFade::fadeInSeconds).opacity, 1);
}

TEST(PinchIndicatorFade, GoesOutOverItsOwnTime) {
    PinchIndicatorFade fade;
    fade.advance(true, 0);
    fade.advance(true, 1);
    EXPECT_NEAR(fade.advance(false, 1 + PinchIndicatorFade::fadeOutSeconds / 2).opacity, 0.5, 1e-6);
    EXPECT_EQ(fade.advance(false, 2).opacity, 0);
}

TEST(PinchIndicatorFade, TheFirstFrameAndAClockThatStandsStillChangeNothing) {
    PinchIndicatorFade fade;
    EXPECT_EQ(fade.advance(true, 5).opacity, 0);
    EXPECT_EQ(fade.advance(true, 5).opacity, 0);
    EXPECT_EQ(fade.advance(true, 4).opacity, 0);
}

TEST(PinchIndicatorFade, DoesNotJumpWhenAPinchIsLetGoHalfWay) {
    PinchIndicatorFade fade;
    fade.advance(false, 0);
    const float in = fade.advance(true, 0.06).opacity;
    const float out = fade.advance(false, 0.061).opacity;
    EXPECT_LT(out, in);
    EXPECT_NEAR(out, in, 0.02);
}

} // namespace
} // namespace lanternfly
