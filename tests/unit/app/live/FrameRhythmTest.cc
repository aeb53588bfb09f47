#include "app/live/FrameRhythm.h"

#include <gtest/gtest.h>

namespace lanternfly {
namespace {

constexpr uint64_t frame = 33'333'333; // ns

struct FrameRhythmTest : testing::Test {
    FrameRhythm rhythm;
    uint64_t now = 1'000'000'000'000;

    int64_t after(uint64_t nanos) { return rhythm.take(now += nanos); }
    int64_t afterMany(int count, uint64_t nanos) {
        int64_t missing = 0;
        for (int i = 0; i < count; ++i)
            missing += after(nanos);
        return missing;
    }
};

TEST_F(FrameRhythmTest, EvenFramesLeaveNoneOut) {
    EXPECT_EQ(afterMany(100, frame), 0);
}

TEST_F(FrameRhythmTest, FramesThatTrembleAreNotMissed) {
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(after(i % 2 ? frame - 6'000'000 : frame + 6'000'000), 0) << i;
}

TEST_F(FrameRhythmTest, AGapCountsTheFramesThatWouldHaveBeenInIt) {
    afterMany(20, frame);
    EXPECT_EQ(after(2 * frame), 1);
    EXPECT_EQ(after(frame), 0);
    EXPECT_EQ(after(5 * frame), 4);
}

TEST_F(FrameRhythmTest, AlsoWhenMostFramesAreLostTheyAreCounted) {
    afterMany(40, frame);
    int64_t missing = 0;
    for (int i = 0; i < 50; ++i)
        missing += after(3 * frame) + after(frame) + after(2 * frame);
    EXPECT_EQ(missing, 50 * 3);
}

TEST_F(FrameRhythmTest, ANewRhythmIsLearned) {
    afterMany(40, frame);
    EXPECT_GT(afterMany(40, 2 * frame), 0);
    EXPECT_EQ(afterMany(40, 2 * frame), 0);
    EXPECT_EQ(after(4 * frame), 1);
}

TEST_F(FrameRhythmTest, ACameraThatWasAwayLostNothing) {
    afterMany(20, frame);
    EXPECT_EQ(after(FrameRhythm::longestGapNanos + 1), 0);
    EXPECT_EQ(after(frame), 0);
}

TEST_F(FrameRhythmTest, TimesThatStandStillOrGoBackSayNothing) {
    afterMany(20, frame);
    EXPECT_EQ(after(0), 0);
    now -= 10 * frame;
    EXPECT_EQ(after(0), 0);
    EXPECT_EQ(after(frame), 0);
}

TEST_F(FrameRhythmTest, NothingIsSaidBeforeTheRhythmIsKnown) {
    EXPECT_EQ(after(0), 0);
    EXPECT_EQ(after(frame), 0);
    EXPECT_EQ(after(10 * frame), 0);
}

} // namespace
} // namespace lanternfly
