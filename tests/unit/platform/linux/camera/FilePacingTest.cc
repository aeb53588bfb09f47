#include "platform/linux/video/FilePacing.h"

#include <gtest/gtest.h>

namespace lanternfly {
namespace {

constexpr uint64_t ms = 1'000'000;

TEST(FilePacingTest, FramesAreDueAtTheirOwnTimes) {
    FilePacing pacing(40 * ms);
    EXPECT_EQ(pacing.dueAt(MediaTime::make(0, 1000), 5000 * ms), 5000 * ms);
    EXPECT_EQ(pacing.dueAt(MediaTime::make(40, 1000), 5001 * ms), 5040 * ms);
    EXPECT_EQ(pacing.dueAt(MediaTime::make(100, 1000), 5041 * ms), 5100 * ms);
}

TEST(FilePacingTest, AFileThatBeginsLateIsDueAtOnce) {
    FilePacing pacing(40 * ms);
    EXPECT_EQ(pacing.dueAt(MediaTime::make(2000, 1000), 5000 * ms), 5000 * ms);
    EXPECT_EQ(pacing.dueAt(MediaTime::make(2040, 1000), 5000 * ms), 5040 * ms);
}

TEST(FilePacingTest, ANewRoundFollowsTheLastFrame) {
    FilePacing pacing(40 * ms);
    pacing.dueAt(MediaTime::make(0, 1000), 5000 * ms);
    pacing.dueAt(MediaTime::make(40, 1000), 5000 * ms);
    pacing.rewind();
    EXPECT_EQ(pacing.dueAt(MediaTime::make(0, 1000), 5050 * ms), 5080 * ms);
    EXPECT_EQ(pacing.dueAt(MediaTime::make(40, 1000), 5080 * ms), 5120 * ms);
}

TEST(FilePacingTest, ASmallDelayIsCaughtUpAndALargeOneIsNot) {
    FilePacing pacing(40 * ms);
    pacing.dueAt(MediaTime::make(0, 1000), 5000 * ms);
    EXPECT_EQ(pacing.dueAt(MediaTime::make(40, 1000), 5300 * ms), 5040 * ms);
    EXPECT_EQ(pacing.dueAt(MediaTime::make(80, 1000), 9000 * ms), 9000 * ms);
    EXPECT_EQ(pacing.dueAt(MediaTime::make(120, 1000), 9001 * ms), 9040 * ms);
}

TEST(FilePacingTest, TimesRiseWhateverTheFileSays) {
    FilePacing pacing(0);
    uint64_t last = 0;
    for (const auto time : {MediaTime::make(0, 1), MediaTime::make(0, 1), MediaTime::invalid(),
                            MediaTime::make(-5, 1), MediaTime::make(1, 1)}) {
        const uint64_t due = pacing.dueAt(time, 7000 * ms);
        EXPECT_GT(due, last);
        last = due;
        pacing.rewind();
    }
}

} // namespace
} // namespace lanternfly
