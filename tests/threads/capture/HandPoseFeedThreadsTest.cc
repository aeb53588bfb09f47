// Run under ThreadSanitizer: the feed and its telemetry, from every side at once.
#include "capture/HandPoseFeed.h"

#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "support/LogCapture.h"

namespace lanternfly {
namespace {

class TwoHands final : public HandPoseDetector {
    void detect(const PixelBuffer&, std::vector<HandObservation>& hands) override {
        HandObservation hand;
        hand.points.fill(HandObservation::Point{0.5f, 0.5f, 0.9f});
        hands.assign(2, hand);
    }
};

TEST(HandPoseFeedThreadsTest, FramesMeetStartsStopsAndNewCallbacks) {
    const test::LogCapture quiet;
    const auto feed =
        HandPoseFeed::create(SystemClock::shared(), [] { return std::make_unique<TwoHands>(); });
    const auto telemetry = std::make_shared<TrackingTelemetry>();
    const auto camera = PixelBuffer::create(64, 36);
    std::atomic<int> calls{0};
    std::atomic<bool> isOver{false};
    std::thread cameraThread([&] {
        for (int i = 0; i < 2000; ++i)
            feed->process(camera, MediaTime::make(i, 30));
        isOver = true;
    });
    std::thread display([&] {
        while (!isOver)
            telemetry->readout();
    });
    int round = 0;
    do {
        feed->start();
        feed->setTelemetry(round % 3 ? telemetry : nullptr);
        feed->setPoseCallback([&](std::span<const HandPose> poses) {
            calls += 1;
            EXPECT_EQ(poses.size(), 2u);
        });
        feed->isPrewarming();
        if (++round % 2) feed->stop();
    } while (!isOver);
    cameraThread.join();
    display.join();

    feed->start();
    feed->waitUntilIdle();
    const int before = calls;
    feed->process(camera, MediaTime::make(0, 30));
    feed->waitUntilIdle();
    EXPECT_EQ(calls, before + 1);
}

TEST(HandPoseFeedThreadsTest, FeedsAreReleasedInTheMiddleOfTheirWork) {
    const test::LogCapture quiet;
    const auto camera = PixelBuffer::create(64, 36);
    for (int i = 0; i < 100; ++i) {
        auto feed = HandPoseFeed::create(SystemClock::shared(),
                                         [] { return std::make_unique<TwoHands>(); });
        feed->setPoseCallback([](std::span<const HandPose>) {});
        feed->start();
        for (int j = 0; j < i % 5; ++j)
            feed->process(camera, MediaTime::make(j, 30));
        std::thread other([feed] { feed->stop(); });
        feed.reset();
        other.join();
    }
}

TEST(TrackingTelemetryThreadsTest, RecordersAndReadersMeet) {
    TrackingTelemetry telemetry;
    constexpr int rounds = 5000;
    std::thread detection([&] {
        for (uint64_t i = 1; i <= rounds; ++i) {
            telemetry.recordDetection(10'000'000);
            telemetry.recordPoseDelivery(i * 30'000'000);
            telemetry.recordDrop();
        }
    });
    std::thread recognizer([&] {
        for (int i = 0; i < rounds; ++i)
            telemetry.recordLandmarkConfidence(0.5f);
    });
    for (int i = 0; i < rounds; ++i) {
        const auto readout = telemetry.readout();
        EXPECT_NEAR(readout.detectionMs.value_or(10), 10, 1e-9);
        EXPECT_NEAR(readout.poseIntervalMs.value_or(30), 30, 1e-9);
        EXPECT_NEAR(readout.landmarkConfidence.value_or(0.5), 0.5, 1e-9);
    }
    detection.join();
    recognizer.join();
    EXPECT_NEAR(*telemetry.readout().landmarkConfidence, 0.5, 1e-9);
}

} // namespace
} // namespace lanternfly
