#include "app/FramePipeline.h"

#include <cmath>

#include <gtest/gtest.h>

#include "gpu/cpu/CpuDevice.h"
#include "support/AllocationCount.h"
#include "support/LogCapture.h"

namespace lanternfly {
namespace {

// A pinched hand that goes to and fro.
class PinchThatMoves final : public HandPoseDetector {
    void detect(const PixelBuffer&, std::vector<HandObservation>& hands) override {
        const float x = 0.5f + 0.1f * std::sin(static_cast<float>(_count++) * 0.1f);
        HandObservation hand;
        hand.chirality = HandObservation::Chirality::right;
        const auto place = [&](HandJoint joint, float atX, float atY) {
            hand.points[static_cast<size_t>(joint)] = {atX, atY, 0.9f};
        };
        place(HandJoint::wrist, x, 0.2f);
        place(HandJoint::middleMCP, x, 0.4f);
        place(HandJoint::thumbTip, x - 0.01f, 0.5f);
        place(HandJoint::indexTip, x + 0.01f, 0.5f);
        hands.assign(1, hand);
    }
    int _count = 0;
};

TEST(FramePipelineAllocationTest, ASlideThatIsCarriedBesideInkAllocatesNothing) {
    const test::LogCapture quiet(LogLevel::error);
    ManualClock clock;
    const auto device = CpuDevice::create();
    FramePipeline pipeline({.clock = clock,
                            .makeDetector = [] { return std::make_unique<PinchThatMoves>(); },
                            .compositor = FrameCompositor::create(device, 320, 180)});
    const auto page = PixelBuffer::create(160, 90);
    pipeline.changeStage([texture = device->makeTexture(*page, {})](Stage& stage) {
        stage.slide = {texture, true};
    });
    pipeline.ink().enterDrawMode();
    pipeline.ink().pointerBegan({20, 20});
    pipeline.ink().pointerMoved({120, 60});
    pipeline.ink().exitDrawMode();
    pipeline.ink().setAutoUnwriteEnabled(false);

    const auto camera = PixelBuffer::create(320, 180);
    int64_t index = 0;
    const auto frames = [&](int count) {
        for (int i = 0; i < count; ++i, ++index) {
            clock.advanceNanos(33'000'000);
            ASSERT_TRUE(pipeline.onFrame({camera, MediaTime::make(index, 30), index}));
        }
    };
    frames(30);
    const double carriedFrom = pipeline.driver().snapshot().transform.position.x;
    const size_t before = test::allocationCount.load();
    frames(100);
    EXPECT_EQ(test::allocationCount.load() - before, 0u);
    EXPECT_NE(pipeline.driver().snapshot().transform.position.x, carriedFrom);
}

} // namespace
} // namespace lanternfly
