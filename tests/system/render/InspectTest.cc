#include "system/render/RenderFixture.h"

namespace lanternfly {
namespace {

using test::contents;
using test::setContents;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

struct Inspect : test::RenderFixture {
    const std::filesystem::path tracks =
        std::filesystem::path(LANTERNFLY_SOURCE_DIR) / "tests/tracks";

    // Without the tuning of whoever runs the tests.
    test::ShellResult inspect(const std::string& arguments) const {
        return lanternfly("inspect --default-tuning " + arguments);
    }
};

TEST_F(Inspect, ATrackGivesWordsAndAPage) {
    const auto run = inspect(test::quoted(tracks / "near_pinch_034.jsonl") + " --out page.html");
    EXPECT_EQ(run.exitCode, 0) << run.output;
    EXPECT_THAT(run.output,
                AllOf(HasSubstr("0 pinches"), HasSubstr("came to 0.34 of the hand's size"),
                      HasSubstr("0 of 0 expected events")));
    EXPECT_THAT(contents(folder / "page.html"),
                AllOf(StartsWith("<!doctype html>"), HasSubstr("came to 0.34")));
}

TEST_F(Inspect, AVideoIsLookedThroughForHands) {
    ffmpeg("-ss 3.5 -t 1.5 -i " + test::quoted(demo / "presenter.mp4") +
           " -an -c:v libx264 -crf 12 camera.mp4");
    const auto run = inspect("camera.mp4 --out page.html");
    EXPECT_EQ(run.exitCode, 0) << run.output;
    EXPECT_THAT(run.output, HasSubstr("pinch began"));
    EXPECT_THAT(contents(folder / "page.html"), HasSubstr("camera.mp4"));
}

TEST_F(Inspect, ATrackThatDoesNotGiveWhatItStatesIsAFailure) {
    std::string track = contents(tracks / "near_pinch_034.jsonl");
    const std::string nothing = R"("expected":[])";
    track.replace(track.find(nothing), nothing.size(),
                  R"("expected":[{"event":"pinch began","time":0.5,"frames":2}])");
    setContents(folder / "wrong.jsonl", track);
    const auto run = inspect("wrong.jsonl");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.output, HasSubstr("0 of 1 expected events came in time"));
    const auto several = inspect("wrong.jsonl " + test::quoted(tracks / "pinch.jsonl") + " 2>&1");
    EXPECT_EQ(several.exitCode, 1);
    EXPECT_THAT(several.output,
                AllOf(HasSubstr("pinch began at 0.500 s never came"), HasSubstr("all")));
}

TEST_F(Inspect, ACutTrackIsShownWithANote) {
    const std::string track = contents(tracks / "pinch.jsonl");
    setContents(folder / "cut.jsonl", track.substr(0, track.size() / 2));
    const auto run = inspect("cut.jsonl");
    EXPECT_THAT(run.output, HasSubstr("the last line is cut off and left out"));
}

TEST_F(Inspect, WhatCannotBeShownIsOneClearLine) {
    expectOneClearLine(inspect("none.jsonl"), "none.jsonl");
    setContents(folder / "letter.txt", "Dear reader,\n");
    expectOneClearLine(inspect("letter.txt"), "letter.txt");
    setContents(folder / "other.jsonl", "{\"type\":\"hands\"}\n");
    expectOneClearLine(inspect("other.jsonl --out page.html"), "other.jsonl:1: ");
    expectOneClearLine(inspect("other.jsonl --out other.jsonl"), "same file");
    const std::string pinch = test::quoted(tracks / "pinch.jsonl");
    expectOneClearLine(inspect(pinch + " --out absent/page.html"), "absent");
    expectOneClearLine(inspect(pinch + " " + pinch + " --out page.html"), "--out");
    EXPECT_EQ(fileCount(), 2u);
}

} // namespace
} // namespace lanternfly
