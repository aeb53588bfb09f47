#include "motion/PinchTransformController.h"

#include <limits>

#include <gtest/gtest.h>

namespace lanternfly {

namespace {

const float nan = std::numeric_limits<float>::quiet_NaN();
const float infinity = std::numeric_limits<float>::infinity();

struct PinchTransformControllerTest : testing::Test {
    ManualClock clock;
    std::shared_ptr<AppearanceDriver> driver =
        std::make_shared<AppearanceDriver>(clock, OverlayTransform{{0.3f, 0.2f}, 0.5f, 1}, 0.4);
    PinchTransformController controller{clock, driver};

    void place(const OverlayTransform& transform) { driver->setTransformTarget(transform, 0); }
    void withoutSpring() {
        auto config = TrackingConfig::defaults;
        config.springStiffness = 0;
        controller.setTrackingConfig(config);
    }
    void configure(const std::function<void(PinchTransformController::Configuration&)>& change) {
        auto configuration = controller.configuration();
        change(configuration);
        controller.setConfiguration(configuration);
    }
    void began(float2 at = {0.5f, 0.5f}) { controller.handle(PinchBegan{at, {}, 0}); }
    void changed(float2 at, float scaleDelta = 1, uint64_t arrived = 0) {
        controller.handle(PinchChanged{at, scaleDelta, {}, arrived});
    }
    void ended() { controller.handle(PinchEnded{{}, 0}); }
    float2 position() const { return driver->currentTransform().position; }
    float scale() const { return driver->currentTransform().scale; }
};

} // namespace

TEST_F(PinchTransformControllerTest, FollowsTheHandByItsGains) {
    withoutSpring();
    configure([](auto& c) { c.positionGainX = 2, c.positionGainY = 0.5f; });
    began({0.4f, 0.6f});
    changed({0.5f, 0.4f});
    EXPECT_FLOAT_EQ(position().x, 0.5f);
    EXPECT_FLOAT_EQ(position().y, 0.1f);
}

TEST_F(PinchTransformControllerTest, CreepsOutOfTheCentreAndNeverSticksAgain) {
    withoutSpring();
    place({{0.05f, 0}, 0.5f, 1});
    began();
    changed({0.53f, 0.5f});
    EXPECT_NEAR(position().x, 0.05f + 0.0225f, 1e-6f);
    changed({0.5f, 0.5f});
    EXPECT_EQ(position(), float2(0.05f, 0));
    changed({0.5601f, 0.5f});
    EXPECT_NEAR(position().x, 0.05f + 0.0601f, 1e-6f);
    changed({0.53f, 0.5f});
    EXPECT_NEAR(position().x, 0.05f + 0.03f, 1e-6f);
}

TEST_F(PinchTransformControllerTest, SticksOnlyWithinTheAnchorRadius) {
    withoutSpring();
    const struct {
        float2 start;
        float radius, breakaway, moved;
    } cases[] = {{{0.08f, 0}, 0.08f, 0.06f, 0.03f}, // at the radius: free
                 {{0, 0}, 0.08f, 0.06f, 0.0225f},   // creeps
                 {{0, 0}, 0, 0.06f, 0.03f},         // anchoring off
                 {{0, 0}, 0.08f, 0, 0.03f},         // breaks free at once
                 {{0, 0}, 0.08f, -1, 0.03f}};
    for (const auto& [start, radius, breakaway, moved] : cases) {
        configure(
            [&](auto& c) { c.centerAnchorRadius = radius, c.centerAnchorBreakaway = breakaway; });
        place({start, 0.5f, 1});
        began();
        changed({0.53f, 0.5f});
        EXPECT_NEAR(position().x - start.x, moved, 1e-6f);
        controller.reset();
    }
}

TEST_F(PinchTransformControllerTest, KeepsAnAnchoredStartOutsideTheClampWhileTheHandRests) {
    withoutSpring();
    configure([](auto& c) { c.positionClamp = {0.1f, 0.2f}; });
    place({{0.05f, 0}, 0.5f, 1});
    began();
    changed({0.5f, 0.5f});
    EXPECT_EQ(position(), float2(0.05f, 0));
    changed({0.51f, 0.5f});
    EXPECT_FLOAT_EQ(position().x, 0.1f);
    EXPECT_FLOAT_EQ(position().y, 0.1f);
}

TEST_F(PinchTransformControllerTest, ClampsEachAxis) {
    withoutSpring();
    began({0.5f, 0.5f});
    changed({2, -2});
    EXPECT_EQ(position(), float2(1, -1));
}

TEST_F(PinchTransformControllerTest, ScalesWithTheHandAndBandsBeyondTheLimits) {
    withoutSpring();
    const struct {
        float start, delta, scale;
    } cases[] = {{1.1f, 0.5f, 0.275f},
                 {0.5f, 1.5f, 1.0625f},
                 {0.5f, 1, 0.5f},
                 {0.5f, 2.0f, 1.503125f}, // raw 0.5 × (1 + 1 × 3) = 2
                 {0.4f, 0.5f, 0.1967742f}};
    for (const auto& [start, delta, expected] : cases) {
        place({{0.3f, 0.2f}, start, 1});
        began();
        changed({0.5f, 0.5f}, delta);
        EXPECT_NEAR(scale(), expected, 1e-5f);
        controller.reset();
    }
}

TEST_F(PinchTransformControllerTest, EasesABandedScaleBackWhenThePinchEnds) {
    began();
    changed({0.5f, 0.5f}, 2);
    EXPECT_NEAR(scale(), 1.503125f, 1e-5f);
    ended();
    EXPECT_NEAR(scale(), 1.503125f, 1e-5f);
    EXPECT_EQ(driver->currentTarget().scale, 1.4f);
    clock.advance(0.14);
    EXPECT_NEAR(scale(), 1.4f + 0.103125f / 32, 1e-5f);
    clock.advance(0.14);
    EXPECT_EQ(scale(), 1.4f);
}

TEST_F(PinchTransformControllerTest, MovesThroughTheSpring) {
    began();
    clock.advance(0.02);
    changed({0.6f, 0.5f});
    const auto spring = FollowSpring{{0.3f, 0.2f}, {0, 0}}.after(0.02, {0.4f, 0.2f}, 800, 56.57f);
    EXPECT_NEAR(position().x, spring.position.x, 1e-6f);
    EXPECT_GT(position().x, 0.3f);
    EXPECT_LT(position().x, 0.4f);
}

TEST_F(PinchTransformControllerTest, MovesNothingWhenNoTimePasses) {
    began();
    changed({0.6f, 0.5f});
    EXPECT_EQ(position(), float2(0.3f, 0.2f));
}

TEST_F(PinchTransformControllerTest, TakesAGapOfASecondForATenth) {
    began();
    clock.advance(1);
    changed({0.7f, 0.5f});
    const auto spring = FollowSpring{{0.3f, 0.2f}, {0, 0}}.after(0.1, {0.5f, 0.2f}, 800, 56.57f);
    EXPECT_NEAR(position().x, spring.position.x, 1e-6f);
}

TEST_F(PinchTransformControllerTest, KeepsTheVisibilityAndTellsTheTarget) {
    withoutSpring();
    std::optional<OverlayTransform> told;
    controller.setOnTargetChanged([&](const OverlayTransform& target) { told = target; });
    place({{0.3f, 0.2f}, 0.5f, 0.25f});
    began();
    EXPECT_FALSE(told);
    changed({0.6f, 0.5f}, 1);
    ASSERT_TRUE(told);
    EXPECT_EQ(*told, driver->currentTarget());
    EXPECT_EQ(told->visibility, 0.25f);
}

TEST_F(PinchTransformControllerTest, TellsWhenASessionStartsAndEnds) {
    int started = 0, endedCount = 0;
    controller.setOnSessionStarted([&] {
        ++started;
        EXPECT_TRUE(controller.isSessionActive());
    });
    controller.setOnSessionEnded([&] {
        ++endedCount;
        EXPECT_FALSE(controller.isSessionActive());
    });
    EXPECT_FALSE(controller.isSessionActive());
    ended();
    EXPECT_EQ(endedCount, 0);
    began();
    EXPECT_TRUE(controller.isSessionActive());
    began();
    ended();
    EXPECT_EQ(started, 2);
    EXPECT_EQ(endedCount, 1);
    began();
    controller.reset();
    EXPECT_FALSE(controller.isSessionActive());
    EXPECT_EQ(endedCount, 1);
}

TEST_F(PinchTransformControllerTest, ABeginningDuringASessionStartsAfresh) {
    withoutSpring();
    began({0.5f, 0.5f});
    changed({0.6f, 0.5f});
    began({0.2f, 0.2f});
    changed({0.2f, 0.2f});
    EXPECT_NEAR(position().x, 0.4f, 1e-6f);
}

TEST_F(PinchTransformControllerTest, LockedItFinishesASessionButStartsNone) {
    withoutSpring();
    began();
    controller.setLocked(true);
    changed({0.6f, 0.5f});
    EXPECT_FLOAT_EQ(position().x, 0.4f);
    ended();
    EXPECT_FALSE(controller.isSessionActive());
    began();
    EXPECT_FALSE(controller.isSessionActive());
    changed({0.9f, 0.5f});
    EXPECT_FLOAT_EQ(position().x, 0.4f);
    controller.setLocked(false);
    began();
    EXPECT_TRUE(controller.isSessionActive());
}

TEST_F(PinchTransformControllerTest, GlidesOnWhenItIsThrown) {
    began();
    for (int frame = 1; frame <= 10; ++frame) {
        clock.advance(1.0 / 60);
        changed({0.5f - 0.02f * static_cast<float>(frame), 0.5f});
    }
    const float2 before = position();
    ended();
    EXPECT_EQ(position(), before);
    const float2 way = driver->currentTarget().position - before;
    EXPECT_LT(way.x, -0.005f);
    EXPECT_GE(way.x, -0.1f);
    EXPECT_NEAR(way.y, 0, 1e-6f);
    clock.advance(0.1);
    EXPECT_EQ(position(), driver->currentTarget().position);
}

TEST_F(PinchTransformControllerTest, StopsWhereItIsWithoutAReleaseTime) {
    auto config = TrackingConfig::defaults;
    config.releaseEaseSeconds = 0.001f;
    controller.setTrackingConfig(config);
    began();
    clock.advance(0.05);
    changed({0.4f, 0.5f});
    const auto target = driver->currentTarget();
    ended();
    EXPECT_EQ(driver->currentTarget(), target);
}

TEST_F(PinchTransformControllerTest, SettlesToTheCentreWhenItEndsNearby) {
    withoutSpring();
    began();
    changed({0.25f, 0.32f});
    ended();
    EXPECT_EQ(driver->currentTarget().position, float2(0, 0));
    EXPECT_NEAR(position().x, 0.05f, 1e-6f);
    clock.advance(0.28);
    EXPECT_EQ(position(), float2(0, 0));
}

TEST_F(PinchTransformControllerTest, PulsesAtTheBeginningWhenTuned) {
    began();
    EXPECT_EQ(driver->snapshot().transform.scale, 0.5f);
    auto config = TrackingConfig::defaults;
    config.pulseMagnitude = 0.1f;
    controller.setTrackingConfig(config);
    began();
    EXPECT_NEAR(driver->snapshot().transform.scale, 0.55f, 1e-6f);
}

TEST_F(PinchTransformControllerTest, MeasuresLatencyAndSmoothsIt) {
    EXPECT_FALSE(controller.latencyReadout());
    began();
    const uint64_t now = clock.uptimeNanos();
    changed({0.5f, 0.5f}, 1, now - 40'000'000);
    EXPECT_EQ(controller.latencyReadout(), (PinchTransformController::LatencyReadout{40, 40}));
    changed({0.5f, 0.5f}, 1, now - 90'000'000);
    EXPECT_EQ(controller.latencyReadout()->instantMs, 90.0);
    EXPECT_DOUBLE_EQ(controller.latencyReadout()->smoothedMs, 50.0);
}

TEST_F(PinchTransformControllerTest, MeasuresNoLatencyFromNoTimeOrTheFuture) {
    began();
    changed({0.5f, 0.5f}, 1, clock.uptimeNanos() - 40'000'000);
    const auto before = controller.latencyReadout();
    changed({0.5f, 0.5f}, 1, 0);
    changed({0.5f, 0.5f}, 1, clock.uptimeNanos() + 1);
    EXPECT_EQ(controller.latencyReadout(), before);
    changed({0.5f, 0.5f}, 1, clock.uptimeNanos());
    EXPECT_EQ(controller.latencyReadout()->instantMs, 0.0);
}

TEST_F(PinchTransformControllerTest, DoesNothingWithoutItsDriver) {
    bool called = false;
    controller.setOnSessionStarted([&] { called = true; });
    driver.reset();
    began();
    changed({0.6f, 0.5f});
    ended();
    EXPECT_FALSE(called);
    EXPECT_FALSE(controller.isSessionActive());
}

TEST_F(PinchTransformControllerTest, IgnoresEventsThatAreNotNumbers) {
    for (const float bad : {nan, infinity, 1e30f}) {
        began({bad, 0.5f});
        EXPECT_FALSE(controller.isSessionActive());
    }
    began();
    for (const float bad : {nan, infinity, -infinity, 1e30f}) {
        clock.advance(0.02);
        changed({bad, 0.5f});
        changed({0.5f, bad});
        changed({0.5f, 0.5f}, bad);
        EXPECT_EQ(driver->currentTarget(), (OverlayTransform{{0.3f, 0.2f}, 0.5f, 1}));
    }
    clock.advance(0.1);
    changed({0.6f, 0.5f});
    EXPECT_GT(position().x, 0.3f);
    EXPECT_LE(position().x, 0.4f);
}

TEST_F(PinchTransformControllerTest, IgnoresTuningThatIsNotANumber) {
    const auto configuration = controller.configuration();
    configure([](auto& c) { c.positionGainX = nan; });
    configure([](auto& c) { c.scaleClamp.upper = nan; });
    EXPECT_EQ(controller.configuration(), configuration);
    auto tracking = TrackingConfig::defaults;
    tracking.springDamping = infinity;
    controller.setTrackingConfig(tracking);
    began();
    clock.advance(0.1);
    changed({0.6f, 0.5f});
    EXPECT_GT(position().x, 0.3f);
    configure([](auto& c) { c.positionClamp = {-infinity, infinity}; });
    EXPECT_EQ(controller.configuration().positionClamp.upper, infinity);
}

} // namespace lanternfly
