#include "base/Clock.h"
#include "base/MediaTime.h"

#include <gtest/gtest.h>

namespace lanternfly {

TEST(ManualClock, MovesOnlyWhenTold) {
    ManualClock clock(5'000'000'000);
    EXPECT_DOUBLE_EQ(clock.mediaSeconds(), 5.0);
    clock.advance(0.25);
    EXPECT_EQ(clock.uptimeNanos(), 5'250'000'000u);
}

TEST(SystemClock, NeverRunsBackwards) {
    const auto& clock = SystemClock::shared();
    const uint64_t before = clock.uptimeNanos();
    EXPECT_GT(before, 0u);
    EXPECT_LE(before, clock.uptimeNanos());
}

TEST(MediaTime, IsInvalidWithoutATimescale) {
    EXPECT_FALSE(MediaTime::invalid().isValid());
    EXPECT_FALSE(MediaTime::make(3, 0).isValid());
    EXPECT_DOUBLE_EQ(MediaTime::make(90, 60).seconds(), 1.5);
}

} // namespace lanternfly
