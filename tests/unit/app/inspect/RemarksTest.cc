#include "app/inspect/Remarks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/LogCapture.h"
#include "support/TrackSet.h"

namespace lanternfly {
namespace {

using testing::Contains;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;

struct Case {
    const char* track;
    const char* said;
};
void PrintTo(const Case& each, std::ostream* out) {
    *out << each.track;
}

class RemarksOnTracks : public testing::TestWithParam<Case> {
    const test::LogCapture quiet{LogLevel::error};
};

TEST_P(RemarksOnTracks, SayWhy) {
    const auto timeline = test::timelineOfSet(GetParam().track);
    const auto remarks = remarksOn(timeline);
    EXPECT_THAT(remarks, Contains(Field(&Remark::text, HasSubstr(GetParam().said))))
        << testing::PrintToString(remarks.size());
    double last = 0;
    for (const Remark& remark : remarks) {
        EXPECT_GE(remark.startSeconds, last) << "in order";
        EXPECT_GE(remark.endSeconds, remark.startSeconds);
        last = remark.startSeconds;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Reasons, RemarksOnTracks,
    testing::Values(
        Case{"near_pinch_031", "came to 0.31 of the hand's size, and a pinch begins at 0.30"},
        Case{"near_pinch_040", "came to 0.40"},
        Case{"pinch_too_short", "The right hand pinched too shortly: closed for 0.00 s"},
        Case{"hidden_index", "the tip of the index finger was unsure (0.20, and 0.40 is needed)"},
        Case{"hidden_thumb", "the tip of the thumb was unsure (0.20"},
        Case{"missing_index", "the tip of the index finger was not found"},
        Case{"dropout_10", "was not seen for 0.30 s"},
        Case{"pair_half", "the left hand came to 0.50 only, and 0.40 is needed"},
        Case{"pair_same_side", "told them as right hand and right hand"},
        Case{"peace_too_short", "A peace sign was shown for 0.13 s, and it counts after 0.20 s"},
        Case{"peace_during_pinch", "while a pinch was held"},
        Case{"peace_hidden", "looks like a peace sign"}),
    [](const auto& test) { return std::string(test.param.track); });

TEST(Remarks, AGoodPinchNeedsNoWords) {
    const test::LogCapture quiet(LogLevel::error);
    for (const char* track : {"pinch", "pinch_60fps", "pinch_slow", "pair", "peace"})
        EXPECT_THAT(remarksOn(test::timelineOfSet(track)), IsEmpty()) << track;
}

TEST(Remarks, APinchThatBrokeTellsHowFarItOpened) {
    const test::LogCapture quiet(LogLevel::error);
    const auto timeline = test::timelineOfSet("pinch_twice");
    EXPECT_THAT(remarksOn(timeline),
                Contains(Field(&Remark::text, HasSubstr("let go and took hold again"))));
}

TEST(Remarks, FramesThatNobodyLookedAtAreTold) {
    auto track = test::trackOfSet("pinch");
    for (size_t i = 10; i < 16; ++i) {
        track.frames[i].isLookedAt = false;
        track.frames[i].poses.clear();
    }
    const test::LogCapture quiet(LogLevel::error);
    EXPECT_THAT(remarksOn(replayGestures(track)),
                Contains(Field(&Remark::text, HasSubstr("busy for 6 frames in a row"))));
}

TEST(Remarks, NoFramesNoWords) {
    EXPECT_THAT(remarksOn({}), IsEmpty());
}

} // namespace
} // namespace lanternfly
