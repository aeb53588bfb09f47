// Laws of the motion, held over random inputs of a fixed seed.
#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "motion/PinchTransformController.h"
#include "motion/TransformBias.h"

namespace lanternfly {

namespace {

struct MotionLaws : testing::Test {
    std::mt19937 random{20240607};

    float between(float lower, float upper) {
        return std::uniform_real_distribution<float>(lower, upper)(random);
    }
    float2 within(float reach) { return {between(-reach, reach), between(-reach, reach)}; }
};

bool isFinite(const OverlaySnapshot& snapshot) {
    for (const float value :
         {snapshot.transform.position.x, snapshot.transform.position.y, snapshot.transform.scale,
          snapshot.transform.visibility, snapshot.appearance.opacity, snapshot.appearance.blur,
          snapshot.appearance.tiltX, snapshot.appearance.tiltY, snapshot.targetVelocity.x,
          snapshot.targetVelocity.y})
        if (!std::isfinite(value)) return false;
    return true;
}

} // namespace

TEST_F(MotionLaws, BiasIsContinuousAndKeepsTheOrder) {
    for (int trial = 0; trial < 40; ++trial) {
        const BiasConfig config{between(0.01f, 0.3f), between(0, 1), between(0.01f, 0.3f),
                                between(0, 1)};
        const float fill = between(0.5f, 1.5f);
        constexpr float step = 0.0005f;
        constexpr float rounding = 1e-6f;
        // The slope 1 + strength × k²·(3 − 4k) is greatest at k = ½: at most 1.25.
        const float steepest = 1.251f * step;
        float lastX = -1, lastScale = 0;
        for (int at = -800; at <= 800; ++at) {
            const float offset = static_cast<float>(at) * step;
            const float x = TransformBias::biasedPosition({offset, 0}, config).x;
            const float scale = TransformBias::biasedScale(fill + offset, fill, config);
            if (at > -800) {
                ASSERT_GE(x, lastX - rounding);
                ASSERT_LE(x, lastX + steepest);
                ASSERT_GE(scale, lastScale - rounding);
                ASSERT_LE(scale, lastScale + steepest);
            }
            lastX = x;
            lastScale = scale;
        }
    }
}

TEST_F(MotionLaws, RubberBandKeepsTheOrderAndTheBand) {
    for (int trial = 0; trial < 40; ++trial) {
        const float lower = between(0.1f, 0.5f);
        const ClosedRange limits{lower, lower + between(0.1f, 1)};
        const float band = between(0.01f, 0.5f);
        float last = -1;
        for (float raw = -2; raw < 4; raw += 0.003f) {
            const float banded = PinchMotion::rubberBanded(raw, limits, band);
            ASSERT_GE(banded, last);
            ASSERT_GT(banded, limits.lower - band);
            ASSERT_LT(banded, limits.upper + band);
            last = banded;
        }
    }
}

TEST_F(MotionLaws, CreepingOutNeverTurnsBackNorPassesTheHand) {
    for (int trial = 0; trial < 40; ++trial) {
        const float breakaway = between(0.01f, 0.2f);
        float last = 0;
        for (int step = 1; step < 500; ++step) {
            const float way = breakaway * static_cast<float>(step) / 500;
            const float crept = PinchMotion::creptOut({way, 0}, breakaway).x;
            ASSERT_GT(crept, last);
            ASSERT_LE(crept, way + 1e-7f);
            last = crept;
        }
    }
}

TEST_F(MotionLaws, RetargetingNeverJumps) {
    const EasingCurve curves[] = {nullptr, Easing::easeOut, Easing::releaseSpring,
                                  Easing::smootherStep};
    ManualClock clock;
    AppearanceDriver driver(clock, OverlayTransform::day4Default, 0.4);
    for (int trial = 0; trial < 2000; ++trial) {
        clock.advance(between(0, 0.3f));
        const auto before = driver.currentTransform();
        driver.setTransformTarget({within(0.5f), between(0.2f, 1.4f), between(0, 1)},
                                  between(0.01f, 0.5f),
                                  curves[std::uniform_int_distribution<size_t>(0, 3)(random)]);
        ASSERT_EQ(driver.currentTransform(), before);
    }
}

TEST_F(MotionLaws, TheSpringStaysFiniteAndReachesItsTargetOverAnyTimes) {
    for (int trial = 0; trial < 50; ++trial) {
        FollowSpring spring{within(1), within(10)};
        const float2 target = within(1);
        double elapsed = 0;
        while (elapsed < 2) {
            const double dt = std::pow(10.0, between(-6, 1));
            spring = spring.after(dt, target, 800, 56.57f);
            elapsed += std::min(dt, 0.1);
            ASSERT_TRUE(std::isfinite(spring.position.x + spring.velocity.y));
        }
        EXPECT_NEAR(glm::distance(spring.position, target), 0, 1e-5f);
    }
}

TEST_F(MotionLaws, WhateverComesInThePictureStaysFinite) {
    ManualClock clock;
    const auto driver =
        std::make_shared<AppearanceDriver>(clock, OverlayTransform::day4Default, 0.4);
    PinchTransformController controller(clock, driver);
    const float odd[] = {0, -1, 1e-40f, 1e6f, -1e6f, 3e38f, 1e9f, INFINITY, -INFINITY, NAN};
    const auto any = [&] {
        const auto pick = std::uniform_int_distribution<size_t>(0, 19)(random);
        return pick < 10 ? odd[pick] : between(-2, 2);
    };
    for (int trial = 0; trial < 20'000; ++trial) {
        switch (std::uniform_int_distribution<int>(0, 9)(random)) {
        case 0:
            controller.handle(PinchBegan{{any(), any()}, {}, 0});
            break;
        case 1:
        case 2:
        case 3:
            controller.handle(PinchChanged{{any(), any()}, any(), {}, 0});
            break;
        case 4:
            controller.handle(PinchEnded{{}, 0});
            break;
        case 5:
            driver->setTransformTarget({{any(), any()}, any(), any()}, any(), nullptr, any());
            break;
        case 6:
            driver->setTiltConfig({any(), any(), any(), any(), any()});
            break;
        case 7:
            driver->setBiasConfig({any(), any(), any(), any()});
            break;
        case 8:
            driver->triggerConfirmationPulse(any(), any());
            break;
        case 9: {
            driver->setOpacityConfig({any(), any()});
            driver->setFillScale(any());
            auto tracking = TrackingConfig::defaults;
            tracking.springStiffness = any();
            tracking.springDamping = any();
            tracking.releaseEaseSeconds = any();
            controller.setTrackingConfig(tracking);
            auto configuration = controller.configuration();
            configuration.positionGainX = any();
            configuration.scaleGain = any();
            configuration.scaleRubberBand = any();
            configuration.positionClamp = {any(), any()};
            configuration.scaleClamp = {any(), any()};
            configuration.centerAnchorBreakaway = any();
            controller.setConfiguration(configuration);
            break;
        }
        }
        clock.advanceNanos(std::uniform_int_distribution<uint64_t>(0, 30'000'000)(random));
        ASSERT_TRUE(isFinite(driver->snapshot())) << trial;
    }
}

} // namespace lanternfly
