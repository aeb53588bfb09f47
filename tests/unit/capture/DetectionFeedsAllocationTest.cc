#include <gtest/gtest.h>

#include "capture/FaceDetectFeed.h"
#include "capture/HandPoseFeed.h"
#include "support/AllocationCount.h"
#include "support/LogCapture.h"

namespace lanternfly {
namespace {

class TwoHandsEverywhere final : public HandPoseDetector {
    void detect(const PixelBuffer&, std::vector<HandObservation>& hands) override {
        HandObservation hand;
        hand.points.fill(HandObservation::Point{0.5f, 0.5f, 0.9f});
        hands.assign(2, hand);
    }
};

TEST(HandPoseFeedAllocationTest, InSteadyStateAFrameAllocatesNothing) {
    const test::LogCapture quiet(LogLevel::error);
    constexpr int warmFrames = 20, measuredFrames = 200;
    auto feed = HandPoseFeed::create(SystemClock::shared(),
                                     [] { return std::make_unique<TwoHandsEverywhere>(); });
    const auto telemetry = std::make_shared<TrackingTelemetry>();
    int hands = 0;
    feed->setTelemetry(telemetry);
    feed->setPoseCallback(
        [&](std::span<const HandPose> poses) { hands += static_cast<int>(poses.size()); });
    const auto camera = PixelBuffer::create(1280, 720);
    feed->start();
    feed->waitUntilIdle();
    const auto frames = [&](int count) {
        for (int i = 0; i < count; ++i) {
            feed->process(camera, MediaTime::make(i, 30));
            feed->waitUntilIdle();
        }
    };
    frames(warmFrames);
    const size_t before = test::allocationCount.load();
    frames(measuredFrames);
    EXPECT_EQ(test::allocationCount.load() - before, 0u);
    EXPECT_EQ(hands, 2 * (warmFrames + measuredFrames));
}

class OneFaceEverywhere final : public FaceDetector {
    void detect(const PixelBuffer&, std::vector<FaceRect>& faces) override {
        faces.assign(1, {0.25, 0.25, 0.5, 0.5});
    }
};

TEST(FaceDetectFeedAllocationTest, InSteadyStateAFrameAllocatesNothing) {
    const test::LogCapture quiet(LogLevel::error);
    constexpr int warmFrames = 20, measuredFrames = 200;
    const auto feed =
        FaceDetectFeed::create([] { return std::make_unique<OneFaceEverywhere>(); }, 1);
    const auto camera = PixelBuffer::create(64, 36);
    feed->start();
    int faces = 0;
    const auto frames = [&](int count) {
        for (int i = 0; i < count; ++i) {
            feed->process(camera, MediaTime::make(i, 30));
            feed->waitUntilIdle();
            faces += feed->latestFace().has_value();
        }
    };
    frames(warmFrames);
    const size_t before = test::allocationCount.load();
    frames(measuredFrames);
    EXPECT_EQ(test::allocationCount.load() - before, 0u);
    EXPECT_EQ(faces, warmFrames + measuredFrames);
}

} // namespace
} // namespace lanternfly
