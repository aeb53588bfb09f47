// Counts every allocation of the program, so it is a program of its own.
#include <atomic>
#include <cstdlib>
#include <new>

#include <gtest/gtest.h>

#include "capture/HandPoseFeed.h"
#include "support/LogCapture.h"

namespace {
std::atomic<size_t> allocationCount{0};
}

void* operator new(size_t size) {
    allocationCount.fetch_add(1, std::memory_order_relaxed);
    if (void* block = std::malloc(size)) return block;
    throw std::bad_alloc();
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, size_t) noexcept {
    std::free(block);
}

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
    const size_t before = allocationCount.load();
    frames(measuredFrames);
    EXPECT_EQ(allocationCount.load() - before, 0u);
    EXPECT_EQ(hands, 2 * (warmFrames + measuredFrames));
}

} // namespace
} // namespace lanternfly
