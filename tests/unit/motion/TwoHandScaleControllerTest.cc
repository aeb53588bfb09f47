#include "motion/TwoHandScaleController.h"

#include <limits>

#include <gtest/gtest.h>

namespace lanternfly {
namespace {

struct TwoHandScaleControllerTest : testing::Test {
    ManualClock clock;
    std::shared_ptr<AppearanceDriver> driver =
        std::make_shared<AppearanceDriver>(clock, OverlayTransform{{0.3f, 0.2f}, 0.5f, 1}, 0.4);
    TwoHandScaleController controller{driver};

    void began() { controller.handle(TwoHandPinchBegan{}); }
    void changed(float ratio) {
        TwoHandPinchChanged event;
        event.scaleRatio = ratio;
        controller.handle(event);
    }
    void ended() { controller.handle(TwoHandPinchEnded{}); }
    OverlayTransform now() const { return driver->currentTransform(); }
};

TEST_F(TwoHandScaleControllerTest, TheOverlayGrowsAsTheHandsPartAboutItsOwnCentre) {
    began();
    EXPECT_TRUE(controller.isSessionActive());
    changed(1.5f);
    EXPECT_EQ(now(), (OverlayTransform{{0.3f, 0.2f}, 0.75f, 1}));
    changed(0.6f);
    EXPECT_FLOAT_EQ(now().scale, 0.3f);
    ended();
    EXPECT_FALSE(controller.isSessionActive());
    EXPECT_FLOAT_EQ(now().scale, 0.3f);
}

TEST_F(TwoHandScaleControllerTest, ALimitGivesALittleAndPullsBackWhenLetGo) {
    began();
    changed(10);
    const float stretched = now().scale;
    EXPECT_GT(stretched, 1.4f);
    EXPECT_LT(stretched, 1.55f);
    ended();
    clock.advance(0.3);
    EXPECT_FLOAT_EQ(now().scale, 1.4f);
    began();
    changed(0);
    EXPECT_LT(now().scale, 0.25f);
    ended();
    clock.advance(0.3);
    EXPECT_FLOAT_EQ(now().scale, 0.25f);
}

TEST_F(TwoHandScaleControllerTest, AHiddenOverlayStaysHidden) {
    driver->setTransformTarget({{0.3f, 0.2f}, 0.5f, 0}, 0);
    began();
    changed(1.2f);
    EXPECT_EQ(now().visibility, 0);
}

TEST_F(TwoHandScaleControllerTest, WithoutASessionNothingMoves) {
    const auto before = now();
    changed(2);
    ended();
    EXPECT_EQ(now(), before);
    began();
    controller.reset();
    changed(2);
    EXPECT_EQ(now(), before);
}

TEST_F(TwoHandScaleControllerTest, ARatioThatIsNoNumberIsIgnored) {
    began();
    const auto before = now();
    for (const float ratio :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 1e7f})
        changed(ratio);
    EXPECT_EQ(now(), before);
}

TEST_F(TwoHandScaleControllerTest, WithoutADriverEventsDoNothing) {
    driver.reset();
    began();
    changed(2);
    ended();
    EXPECT_FALSE(controller.isSessionActive());
}

} // namespace
} // namespace lanternfly
