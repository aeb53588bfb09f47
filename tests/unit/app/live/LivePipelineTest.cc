#include "app/live/LivePipeline.h"

#include <gtest/gtest.h>

#include "gpu/cpu/CpuDevice.h"
#include "platform/fake/ScriptedFrameSink.h"
#include "platform/fake/ScriptedHandPoseDetector.h"

namespace lanternfly {
namespace {

// Whatever is done takes a second.
class SlowMachine final : public Clock {
public:
    uint64_t uptimeNanos() const override { return _nanos += 1'000'000'000; }

private:
    mutable std::atomic<uint64_t> _nanos{1'000'000'000'000};
};

struct LivePipelineTest : testing::Test {
    std::shared_ptr<FrameCompositor> compositor =
        FrameCompositor::create(CpuDevice::create(), 160, 90);
    FramePipeline pipeline{{.clock = SystemClock::shared(),
                            .makeDetector =
                                [] {
                                    return std::make_unique<ScriptedHandPoseDetector>(
                                        std::make_shared<HandPoseScript>());
                                },
                            .compositor = compositor,
                            .detection = FramePipeline::Detection::free}};
    ScriptedFrameSink sink;
    const Clock* clock = &SystemClock::shared();
    LiveFigures figures{SystemClock::shared(), SystemClock::shared().uptimeNanos()};
    std::optional<LivePipeline> live;

    void start() {
        sink.setWatched(true);
        live.emplace(LivePipeline::Setup{.pipeline = pipeline,
                                         .sink = sink,
                                         .figures = figures,
                                         .framing = Framing(16.0 / 9, FramingMode::crop),
                                         .trace = nullptr,
                                         .clock = *clock});
    }
    void send(uint8_t grey, uint64_t uptimeNanos = SystemClock::shared().uptimeNanos()) {
        const auto picture = PixelBuffer::create(160, 90);
        for (int y = 0; y < 90; ++y)
            for (int x = 0; x < 160; ++x) {
                uint8_t* pixel = picture->row(y) + 4 * x;
                pixel[0] = pixel[1] = pixel[2] = grey;
                pixel[3] = 255;
            }
        live->onCameraFrame(picture, MediaTime::fromNanos(static_cast<int64_t>(uptimeNanos)));
    }
    int brightness() const { return sink.lastFrame().picture->row(45)[4 * 80]; }
};

TEST_F(LivePipelineTest, AFrameComesOutComposedAndIsCounted) {
    start();
    send(200);
    ASSERT_TRUE(sink.waitForFrames(1));
    EXPECT_EQ(sink.lastFrame().picture->width(), 160);
    EXPECT_EQ(figures.readout().frames, 1u);
    EXPECT_GE(live->frameCount(), 1);
}

TEST_F(LivePipelineTest, ASilentCameraIsStoodInForByItsLastPicture) {
    start();
    send(200);
    ASSERT_TRUE(sink.waitForFrames(1 + 3));
    EXPECT_EQ(brightness(), 200);
    EXPECT_GE(figures.readout().standIns, 1u);
    send(100);
    ASSERT_TRUE(sink.waitForFrames(sink.frameCount() + 1));
    EXPECT_EQ(brightness(), 100);
}

TEST_F(LivePipelineTest, WithoutACameraThereIsAPlainPicture) {
    start();
    ASSERT_TRUE(sink.waitForFrames(3));
    EXPECT_EQ(figures.readout().frames, 0u);
    EXPECT_LT(brightness(), 100);
    EXPECT_EQ(sink.lastFrame().picture->row(45)[4 * 80 + 3], 255);
}

TEST_F(LivePipelineTest, TimesRiseAlsoWhenACameraFrameWasOnItsWayForLong) {
    start();
    ASSERT_TRUE(sink.waitForFrames(1)); // stands in
    const double before = sink.lastFrame().pts.seconds();
    const size_t count = sink.frameCount();
    send(200, 1'000); // long ago
    ASSERT_TRUE(sink.waitForFrames(count + 1));
    EXPECT_GE(sink.lastFrame().pts.seconds(), before);
}

TEST_F(LivePipelineTest, AMachineThatSleptGoesOnWithoutHurry) {
    ManualClock slept;
    clock = &slept;
    start();
    send(200, slept.uptimeNanos());
    ASSERT_TRUE(sink.waitForFrames(1));
    const double before = sink.lastFrame().pts.seconds();
    constexpr double night = 8 * 3600;
    slept.advance(night);
    send(100, slept.uptimeNanos());
    ASSERT_TRUE(sink.waitForFrames(2));
    EXPECT_EQ(brightness(), 100);
    EXPECT_NEAR(sink.lastFrame().pts.seconds(), before + night, 1);
    EXPECT_LE(figures.readout().standIns, 1u); // that may be on its way
}

TEST_F(LivePipelineTest, StandInsThatAreAlwaysLateLetACameraFrameIn) {
    const SlowMachine slow;
    clock = &slow;
    start();
    ASSERT_TRUE(sink.waitForFrames(3));
    send(200);
    EXPECT_EQ(figures.readout().frames, 1u);
    live.reset(); // before its clock
}

TEST_F(LivePipelineTest, ItEndsWhileItStandsIn) {
    start();
    ASSERT_TRUE(sink.waitForFrames(2));
    live.reset();
    const size_t count = sink.frameCount();
    pipeline.finish();
    EXPECT_LE(sink.frameCount(), count + FrameSink::maxHeldFrames);
}

} // namespace
} // namespace lanternfly
