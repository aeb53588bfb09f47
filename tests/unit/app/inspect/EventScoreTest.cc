#include "app/inspect/EventScore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lanternfly {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using enum GestureEvent;

constexpr double rate = 10; // a frame is 0.1 s

EventScore score(std::vector<ExpectedEvent> expected, std::vector<TimelineEvent> events) {
    return scoreEvents(expected, events, rate);
}

TEST(EventScore, NothingExpectedAndNothingCameIsRight) {
    const auto nothing = score({}, {});
    EXPECT_TRUE(nothing.isRight());
    EXPECT_FALSE(nothing.medianLag());
    EXPECT_FALSE(nothing.worstLag());
}

TEST(EventScore, AnEventMayBeOneFrameEarlyAndAsLateAsItsTolerance) {
    for (const double seconds : {0.9, 1.0, 1.3})
        EXPECT_EQ(score({{pinchBegan, 1, 3}}, {{pinchBegan, seconds}}).found, 1) << seconds;
    for (const double seconds : {0.8, 1.4}) {
        const auto wrong = score({{pinchBegan, 1, 3}}, {{pinchBegan, seconds}});
        EXPECT_EQ(wrong.late, 1) << seconds;
        EXPECT_FALSE(wrong.isRight());
        EXPECT_THAT(wrong.faults, ElementsAre(HasSubstr("pinch began at 1.000 s came at")));
    }
}

TEST(EventScore, WhatNeverCameIsMissedAndWhatNobodyExpectedIsUnasked) {
    const auto wrong =
        score({{pinchBegan, 1, 3}, {peaceSign, 2, 3}}, {{pinchBegan, 1}, {pinchEnded, 2}});
    EXPECT_EQ(wrong.found, 1);
    EXPECT_EQ(wrong.missed, 1);
    EXPECT_EQ(wrong.unasked, 1);
    EXPECT_THAT(wrong.faults, ElementsAre("peace sign at 2.000 s never came",
                                          "pinch ended came at 2.000 s unasked"));
}

TEST(EventScore, EachEventIsTakenOnce) {
    const auto twice = score({{peaceSign, 1, 5}, {peaceSign, 1.2, 5}}, {{peaceSign, 1.3}});
    EXPECT_EQ(twice.found, 1);
    EXPECT_EQ(twice.missed, 1);
}

TEST(EventScore, LagsAreOfTheFoundAndGatherOverTracks) {
    auto all =
        score({{pinchBegan, 1, 3}, {pinchEnded, 2, 3}}, {{pinchBegan, 0.9}, {pinchEnded, 2.2}});
    all.add(score({{peaceSign, 5, 3}}, {{peaceSign, 5.1}}));
    EXPECT_EQ(all.found, 3);
    EXPECT_NEAR(all.medianLag().value(), 1, 1e-6);
    EXPECT_NEAR(all.worstLag().value(), 2, 1e-6);
}

} // namespace
} // namespace lanternfly
