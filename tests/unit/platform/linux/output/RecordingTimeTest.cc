#include "platform/linux/video/RecordingTime.h"

#include <cstdint>

#include <gtest/gtest.h>

namespace lanternfly {
namespace {

TEST(RecordingTimeTest, CountsFromTheFirstFrame) {
    RecordingTime time(0.04);
    EXPECT_EQ(time.next(MediaTime::make(1000, 1)).value, 0);
    EXPECT_EQ(time.next(MediaTime::make(10001, 10)).value, 100'000'000);
    EXPECT_EQ(time.next(MediaTime::make(1010, 1)).value, 10'000'000'000) << "a pause stays";
}

TEST(RecordingTimeTest, AClockThatLeapsCountsAsOneFrame) {
    RecordingTime time(0.04);
    time.next(MediaTime::make(1000, 1));
    EXPECT_EQ(time.next(MediaTime::make(500, 1)).value, 40'000'000);
    EXPECT_EQ(time.next(MediaTime::make(501, 1)).value, 1'040'000'000) << "goes on from there";
    EXPECT_EQ(time.next(MediaTime::make(501, 1)).value, 1'080'000'000);
    EXPECT_EQ(time.next(MediaTime::make(INT64_MAX, 1)).value, 1'120'000'000);
    EXPECT_EQ(time.next(MediaTime::make(INT64_MIN, 1)).value, 1'160'000'000);
    EXPECT_EQ(time.next(MediaTime::invalid()).value, 1'200'000'000);
    time.next(MediaTime::make(7, 1));
    EXPECT_EQ(time.next(MediaTime::make(8, 1)).value, 2'240'000'000);
}

TEST(RecordingTimeTest, AnInvalidFirstTimeIsTheStart) {
    RecordingTime time(0.04);
    EXPECT_EQ(time.next(MediaTime::invalid()).value, 0);
    EXPECT_EQ(time.next(MediaTime::invalid()).value, 40'000'000);
}

} // namespace
} // namespace lanternfly
