#include <gtest/gtest.h>

#include "app/StageTimes.h"

namespace lanternfly {
namespace {

TEST(StageTimes, MedianAndP95AreNearestRanks) {
    std::vector<float> hundred;
    for (int i = 100; i >= 1; --i)
        hundred.push_back(static_cast<float>(i));
    const auto summary = summarize(hundred);
    EXPECT_EQ(summary.frames, 100u);
    EXPECT_EQ(summary.medianMs, 50);
    EXPECT_EQ(summary.p95Ms, 95);
    EXPECT_EQ(summary.totalMs, 5050);
}

TEST(StageTimes, OneFrameIsItsOwnMedianAndNoFrameIsZero) {
    EXPECT_EQ(summarize({3}).p95Ms, 3);
    EXPECT_EQ(summarize({}).medianMs, 0);
}

TEST(StageTimes, MeasuringCountsOnlyItsStageAndPassesTheResultOn) {
    StageTimes times(0, nullptr);
    EXPECT_EQ(times.measure(RenderStage::hands, [] { return 42; }), 42);
    EXPECT_THROW(times.measure(RenderStage::hands, []() -> int { throw 1; }), int);
    EXPECT_EQ(times.summary(RenderStage::hands).frames, 2u);
    EXPECT_EQ(times.summary(RenderStage::encode).frames, 0u);
}

TEST(StageTimes, AHostileFrameCountReservesLittle) {
    EXPECT_NO_THROW(StageTimes(INT64_MAX, nullptr));
    EXPECT_NO_THROW(StageTimes(-5, nullptr));
}

} // namespace
} // namespace lanternfly
