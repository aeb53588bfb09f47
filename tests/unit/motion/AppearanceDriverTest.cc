#include "motion/AppearanceDriver.h"

#include <limits>

#include <gtest/gtest.h>

namespace lanternfly {

namespace {

const float nan = std::numeric_limits<float>::quiet_NaN();
const float infinity = std::numeric_limits<float>::infinity();

struct AppearanceDriverTest : testing::Test {
    ManualClock clock;
    OverlayTransform initial = OverlayTransform::day4Default;
    AppearanceDriver driver{clock, initial, 0.4};

    OverlaySnapshot frame(double seconds = 1.0 / 60) {
        clock.advance(seconds);
        return driver.snapshot();
    }
};

} // namespace

TEST_F(AppearanceDriverTest, StartsAtRestOnItsInitialTransform) {
    const auto snapshot = driver.snapshot();
    EXPECT_EQ(snapshot.transform, initial);
    EXPECT_EQ(snapshot.targetVelocity, float2(0, 0));
    EXPECT_EQ(snapshot.appearance.tiltX, 0.0f);
    EXPECT_EQ(snapshot.appearance.tiltY, 0.0f);
    EXPECT_EQ(snapshot.appearance.blur, 0.0f);
    EXPECT_NEAR(snapshot.appearance.opacity, 0.9844f, 1e-5f);
    EXPECT_EQ(driver.currentTarget(), initial);
    EXPECT_EQ(driver.fillScale(), 1.0f);
    EXPECT_EQ(driver.currentBiasConfig(), BiasConfig::defaults);
}

TEST_F(AppearanceDriverTest, AnimatesOverTheDefaultDurationByEaseInOut) {
    driver.setTransformTarget({{0.3f, 0.2f}, 0.5f, 1});
    EXPECT_EQ(driver.currentTransform(), initial);
    clock.advance(0.1);
    EXPECT_NEAR(driver.currentTransform().scale, 0.36f + 0.14f * 0.15625f, 1e-6f);
    clock.advance(0.3);
    EXPECT_EQ(driver.currentTransform(), (OverlayTransform{{0.3f, 0.2f}, 0.5f, 1}));
}

TEST_F(AppearanceDriverTest, TakesATargetOfDurationZeroAtOnce) {
    const OverlayTransform target{{0.3f, 0.2f}, 0.5f, 1};
    driver.setTransformTarget(target, 0);
    EXPECT_EQ(driver.currentTransform(), target);
    EXPECT_EQ(driver.snapshot().transform, target);
}

TEST_F(AppearanceDriverTest, RetargetsFromWhatIsOnScreen) {
    driver.setTransformTarget({{0.3f, 0.2f}, 0.5f, 1}, 1);
    clock.advance(0.5);
    const auto onScreen = driver.currentTransform();
    EXPECT_NEAR(onScreen.scale, 0.43f, 1e-6f);
    driver.setTransformTarget({{-0.2f, 0}, 0.3f, 1}, 1, Easing::releaseSpring);
    EXPECT_EQ(driver.currentTransform(), onScreen);
    clock.advance(0.5);
    EXPECT_NEAR(driver.currentTransform().scale, 0.43f - 0.13f * 0.96875f, 1e-6f);
}

TEST_F(AppearanceDriverTest, BiasesSnapshotsButNotTheCurrentTransform) {
    driver.setTransformTarget({{0.04f, 0}, 0.97f, 1}, 0);
    EXPECT_EQ(driver.currentTransform().position.x, 0.04f);
    const auto biased = driver.currentBiasedTransform();
    EXPECT_FLOAT_EQ(biased.position.x, 0.03575f);
    EXPECT_FLOAT_EQ(biased.scale, 0.9731875f);
    EXPECT_EQ(driver.snapshot().transform, biased);
    driver.setBiasConfig(BiasConfig::disabled);
    EXPECT_EQ(driver.snapshot().transform, driver.currentTransform());
    driver.setBiasConfig(BiasConfig::defaults);
    driver.setFillScale(2);
    EXPECT_EQ(driver.snapshot().transform.scale, 0.97f);
}

TEST_F(AppearanceDriverTest, ShapesOpacityAndBlurByVisibilityAndScale) {
    driver.setTransformTarget({{0.3f, 0}, 0.8f, 0.5f}, 0);
    const auto appearance = driver.snapshot().appearance;
    const float x = 1.0f / 3;
    EXPECT_NEAR(appearance.opacity, 0.5f * (1 - 0.15f * x * x * (3 - 2 * x)), 1e-5f);
    EXPECT_NEAR(appearance.blur, 0.25f * 6, 1e-4f);
    driver.setOpacityConfig({.opacityMax = 0.6f, .opacityMin = 0.2f});
    driver.setTransformTarget({{0.3f, 0}, 0.5f, 1}, 0);
    EXPECT_EQ(driver.snapshot().appearance.opacity, 0.6f);
}

TEST_F(AppearanceDriverTest, MeasuresTheVelocityOfWhatIsOnScreen) {
    for (int step = 0; step < 12; ++step) {
        driver.setTransformTarget({{0.1f + 0.01f * static_cast<float>(step), 0.3f}, 0.5f, 1}, 0);
        frame(0.02);
    }
    driver.setTransformTarget({{0.22f, 0.3f}, 0.5f, 1}, 0);
    const auto snapshot = frame(0.02);
    EXPECT_NEAR(snapshot.targetVelocity.x, 0.5f, 1e-3f);
    EXPECT_NEAR(snapshot.targetVelocity.y, 0, 1e-5f);
}

TEST_F(AppearanceDriverTest, TiltsByTheOverrideUntilTheNextTarget) {
    const auto tiltAfterAMove = [](std::optional<float> override) {
        ManualClock local;
        AppearanceDriver moved(local, OverlayTransform::day4Default, 0.4);
        moved.snapshot();
        moved.setTransformTarget({{-0.30f, 0.2978f}, 0.36f, 1}, 0, nullptr, override);
        local.advance(0.02);
        return moved.snapshot().appearance.tiltY;
    };
    const float usual = tiltAfterAMove(std::nullopt);
    EXPECT_LT(usual, 0);
    EXPECT_EQ(tiltAfterAMove(0.0f), 0.0f);
    EXPECT_EQ(tiltAfterAMove(nan), usual);

    driver.snapshot();
    driver.setTransformTarget({{-0.30f, 0.2978f}, 0.36f, 1}, 0, nullptr, 0.0f);
    driver.setTransformTarget({{-0.30f, 0.2978f}, 0.36f, 1}, 0);
    EXPECT_EQ(frame(0.02).appearance.tiltY, usual);
}

TEST_F(AppearanceDriverTest, SwellsByThePulseAndComesBack) {
    driver.setTransformTarget({{0.3f, 0}, 0.5f, 1}, 0);
    driver.triggerConfirmationPulse(0.1f, 15);
    EXPECT_NEAR(driver.snapshot().transform.scale, 0.55f, 1e-6f);
    EXPECT_NEAR(frame(0.1).transform.scale, 0.5f * 1.02231f, 1e-5f);
    EXPECT_EQ(frame(1).transform.scale, 0.5f);
    driver.triggerConfirmationPulse(0, 15);
    EXPECT_EQ(driver.snapshot().transform.scale, 0.5f);
}

TEST_F(AppearanceDriverTest, TogglesVisibility) {
    driver.toggleVisibility();
    EXPECT_EQ(driver.currentTarget().visibility, 0.0f);
    clock.advance(0.2);
    EXPECT_FLOAT_EQ(driver.currentTransform().visibility, 0.5f);
    driver.toggleVisibility(0);
    EXPECT_EQ(driver.currentTransform().visibility, 1.0f);

    driver.setTransformTarget({{0, 0}, 0.5f, 0.5f}, 0);
    driver.toggleVisibility(0);
    EXPECT_EQ(driver.currentTarget().visibility, 1.0f);
}

TEST_F(AppearanceDriverTest, PlacesAndKeepsTheVisibilityOnScreen) {
    driver.setTransformTarget({{0, 0}, 0.5f, 0.25f}, 0);
    driver.placeUpperRight(16.0f / 9, 16.0f / 9, 0.36f, 0.0125f, 0);
    auto expected = OverlayTransform::upperRight(16.0f / 9, 16.0f / 9, 0.36f, 0.0125f);
    expected.visibility = 0.25f;
    EXPECT_EQ(driver.currentTarget(), expected);

    driver.placeCentered(16.0f / 9, 16.0f / 9, 1, 0.5, Easing::easeOut);
    EXPECT_EQ(driver.currentTarget(), (OverlayTransform{{0, 0}, 1, 0.25f}));
    clock.advance(0.25);
    EXPECT_NEAR(driver.currentTransform().scale, 0.36f + 0.64f * 0.875f, 1e-6f);
}

TEST_F(AppearanceDriverTest, SettlesToTheCentreOnlyFromNearby) {
    const struct {
        float2 position;
        bool settles;
    } cases[] = {{{0, 0}, false},
                 {{0.05f, 0}, true},
                 {{0, -0.079f}, true},
                 {{0.08f, 0}, false},
                 {{0.3f, 0.2f}, false}};
    for (const auto& [position, settles] : cases) {
        const OverlayTransform from{position, 0.5f, 0.75f};
        driver.setTransformTarget(from, 0);
        EXPECT_EQ(driver.settleToCenterIfNearby(0.28, Easing::releaseSpring), settles);
        const auto target = driver.currentTarget();
        EXPECT_EQ(target.position, settles ? float2(0, 0) : position);
        EXPECT_EQ(target.scale, 0.5f);
        EXPECT_EQ(target.visibility, 0.75f);
        EXPECT_EQ(driver.currentTransform(), from);
    }
}

TEST_F(AppearanceDriverTest, KeepsThePictureWhenAPlacementIsNotANumber) {
    for (const float bad : {nan, infinity, -infinity, 1e30f}) {
        driver.setTransformTarget({{bad, 0}, 0.5f, 1}, 0);
        driver.setTransformTarget({{0, bad}, 0.5f, 1}, 0.2);
        driver.setTransformTarget({{0, 0}, bad, 1}, 0);
        driver.setTransformTarget({{0, 0}, 0.5f, bad}, 0);
        driver.placeUpperRight(bad, bad, bad, bad, 0);
        driver.placeCentered(1, 1, bad, 0);
        EXPECT_EQ(driver.currentTarget(), initial);
        EXPECT_EQ(frame().transform, initial);
    }
    EXPECT_EQ(AppearanceDriver(clock, {{nan, 0}, 1, 1}, 0.4).currentTarget(), initial);
}

TEST_F(AppearanceDriverTest, KeepsItsTuningWhenARecordIsNotANumber) {
    const auto before = driver.snapshot();
    driver.setBiasConfig({.centerStrength = nan});
    driver.setOpacityConfig({.opacityMax = infinity});
    driver.setTiltConfig({.maxAngleRad = nan});
    driver.setFillScale(nan);
    driver.triggerConfirmationPulse(nan, 15);
    EXPECT_EQ(driver.currentBiasConfig(), BiasConfig::defaults);
    EXPECT_EQ(driver.fillScale(), 1.0f);
    EXPECT_EQ(frame(), before);
}

TEST_F(AppearanceDriverTest, StandsPerfectlyStillAtRest) {
    driver.setTransformTarget({{0.2f, 0.1f}, 0.5f, 1}, 0.3);
    for (int count = 0; count < 240; ++count)
        frame();
    const auto rest = frame();
    EXPECT_EQ(rest.transform, (OverlayTransform{{0.2f, 0.1f}, 0.5f, 1}));
    EXPECT_EQ(rest.targetVelocity, float2(0, 0));
    EXPECT_NEAR(rest.appearance.tiltX, 0, 1e-4f);
    EXPECT_NEAR(rest.appearance.tiltY, 0, 1e-4f);
}

} // namespace lanternfly
