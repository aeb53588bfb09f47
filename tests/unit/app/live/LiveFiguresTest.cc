#include "app/live/LiveFigures.h"

#include <gtest/gtest.h>

namespace lanternfly {
namespace {

struct LiveFiguresTest : testing::Test {
    ManualClock clock;
    const uint64_t start = clock.uptimeNanos();
    LiveFigures figures{clock, start};

    // Frames that each take `ms` through the program.
    void frames(int count, double ms, double fps = 30) {
        for (int i = 0; i < count; ++i) {
            const uint64_t arrived = clock.uptimeNanos();
            clock.advance(ms / 1e3);
            figures.frameDone(arrived);
            clock.advance(1 / fps - ms / 1e3);
        }
    }
};

TEST_F(LiveFiguresTest, BeforeTheFirstFrameThereIsNothing) {
    const auto readout = figures.readout();
    EXPECT_EQ(readout.frames, 0u);
    EXPECT_EQ(readout.framesPerSecond, 0);
    EXPECT_EQ(readout.frame.frames, 0u);
    EXPECT_EQ(readout.firstFrameMs, std::nullopt);
}

TEST_F(LiveFiguresTest, TellsRateAndTimesOfFrames) {
    clock.advance(0.25);
    frames(90, 8);
    frames(10, 20);
    const auto readout = figures.readout();
    EXPECT_EQ(readout.frames, 100u);
    EXPECT_EQ(readout.lostFrames, 0u);
    EXPECT_NEAR(readout.framesPerSecond, 30, 0.5);
    EXPECT_NEAR(readout.frame.medianMs, 8, 0.01);
    EXPECT_NEAR(readout.frame.p95Ms, 20, 0.01);
    EXPECT_NEAR(*readout.firstFrameMs, 258, 0.01);
}

TEST_F(LiveFiguresTest, CountsLostFramesAndStandIns) {
    frames(30, 5);
    clock.advance(2.0 / 30);
    frames(30, 5);
    figures.standInDone();
    const auto readout = figures.readout();
    EXPECT_EQ(readout.lostFrames, 2u);
    EXPECT_EQ(readout.standIns, 1u);
    EXPECT_EQ(readout.frames, 60u);
}

TEST_F(LiveFiguresTest, APictureThatStoodStillHasNoRate) {
    frames(60, 5);
    clock.advance(10);
    EXPECT_EQ(figures.readout().framesPerSecond, 0);
}

TEST_F(LiveFiguresTest, OldTimesAreForgotten) {
    frames(100, 20);
    frames(5000, 4);
    EXPECT_NEAR(figures.readout().frame.p95Ms, 4, 0.01);
    EXPECT_EQ(figures.readout().frames, 5100u);
}

TEST_F(LiveFiguresTest, KeepsHowSoonTheSlideFollows) {
    for (const double ms : {30.0, 40.0, 50.0})
        figures.targetSet(ms);
    EXPECT_EQ(figures.readout().target.frames, 3u);
    EXPECT_NEAR(figures.readout().target.medianMs, 40, 0.01);
}

} // namespace
} // namespace lanternfly
