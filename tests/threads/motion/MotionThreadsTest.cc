// Pinch events on one thread, frames on another, the host's commands and read-outs on others, as
// in the program. ThreadSanitizer judges the accesses; the assertions judge that no reader ever
// sees half of a value.
#include <atomic>
#include <cmath>
#include <thread>

#include <gtest/gtest.h>

#include "motion/PinchTransformController.h"

namespace lanternfly {

namespace {

constexpr int rounds = 4000;

// A target whose numbers belong together, so that a torn one is seen.
OverlayTransform woven(int round) {
    const float value = 0.1f + 0.0001f * static_cast<float>(round % 3000);
    return {{value, value}, value, value};
}

bool isWoven(const OverlayTransform& transform) {
    return transform.position.x == transform.position.y &&
           transform.position.x == transform.scale && transform.scale == transform.visibility;
}

} // namespace

TEST(MotionThreads, NoReaderSeesHalfATarget) {
    ManualClock clock;
    AppearanceDriver driver(clock, woven(0), 0.4);
    std::atomic<bool> isDone = false;
    std::thread placing([&] {
        for (int round = 0; round < rounds; ++round)
            driver.setTransformTarget(woven(round), 0);
        isDone = true;
    });
    std::thread tuning([&] {
        while (!isDone) {
            driver.setBiasConfig(BiasConfig::disabled);
            driver.setTiltConfig(TiltConfig::defaults);
            driver.setOpacityConfig(OpacityConfig::defaults);
            driver.setFillScale(1);
        }
    });
    std::thread reading([&] {
        while (!isDone) {
            EXPECT_TRUE(isWoven(driver.currentTarget()));
            EXPECT_TRUE(isWoven(driver.currentTransform()));
        }
    });
    int frames = 0;
    do {
        clock.advanceNanos(1'000'000);
        const auto snapshot = driver.snapshot();
        ASSERT_TRUE(std::isfinite(snapshot.targetVelocity.x + snapshot.appearance.tiltX));
        ++frames;
    } while (!isDone);
    placing.join();
    tuning.join();
    reading.join();
    EXPECT_GT(frames, 0);
    EXPECT_EQ(driver.currentTarget(), woven(rounds - 1));
}

TEST(MotionThreads, PinchesPlaceWhileFramesAreTakenAndTheHostPlacesAndReads) {
    ManualClock clock;
    auto driver = std::make_shared<AppearanceDriver>(clock, OverlayTransform::day4Default, 0.4);
    PinchTransformController controller(clock, driver);
    std::atomic<bool> isDone = false;
    std::thread pinching([&] {
        for (int round = 0; round < rounds; ++round) {
            controller.handle(PinchBegan{{0.5f, 0.5f}, {}, 1});
            controller.handle(
                PinchChanged{{0.5f + 0.001f * static_cast<float>(round % 100), 0.4f}, 1.2f, {}, 1});
            controller.handle(PinchEnded{{}, 1});
        }
        isDone = true;
    });
    std::thread commanding([&] {
        while (!isDone) {
            driver->toggleVisibility(0.2);
            driver->placeCentered(1.6f, 1.6f, 0.9f);
            driver->placeUpperRight(1.6f, 1.6f, 0.36f, 0.0125f);
            driver->settleToCenterIfNearby(0.1);
            driver->triggerConfirmationPulse(0.05f, 15);
        }
    });
    std::thread reading([&] {
        while (!isDone) {
            static_cast<void>(controller.isSessionActive());
            const auto latency = controller.latencyReadout();
            EXPECT_TRUE(!latency || latency->smoothedMs > 0);
        }
    });
    do {
        clock.advanceNanos(1'000'000);
        const auto snapshot = driver->snapshot();
        ASSERT_LE(std::abs(snapshot.transform.position.x), 1.2f);
        ASSERT_GT(snapshot.transform.scale, 0);
    } while (!isDone);
    pinching.join();
    commanding.join();
    reading.join();
    EXPECT_FALSE(controller.isSessionActive());
    EXPECT_TRUE(controller.latencyReadout());
}

TEST(MotionThreads, TheDriverMayGoWhileAPinchIsHeld) {
    for (int round = 0; round < 200; ++round) {
        ManualClock clock;
        auto driver = std::make_shared<AppearanceDriver>(clock, OverlayTransform::day4Default, 0.4);
        PinchTransformController controller(clock, driver);
        controller.handle(PinchBegan{{0.5f, 0.5f}, {}, 0});
        std::thread releasing([&] { driver.reset(); });
        for (int event = 0; event < 20; ++event)
            controller.handle(PinchChanged{{0.6f, 0.5f}, 1, {}, 0});
        releasing.join();
        controller.handle(PinchEnded{{}, 0});
        EXPECT_TRUE(controller.isSessionActive()); // without its driver it hears nothing
    }
}

} // namespace lanternfly
