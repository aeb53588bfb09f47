#include "support/RunningProgram.h"
#include "system/render/RenderFixture.h"
#include "tracks/PoseTrackReader.h"

namespace lanternfly {
namespace {

using test::contents;
using test::RunningProgram;
using test::setContents;
using testing::HasSubstr;

struct PoseTracks : test::RenderFixture {
    static std::string quotedTrack(const char* name) {
        return test::quoted(std::filesystem::path(LANTERNFLY_SOURCE_DIR) / "tests/tracks" / name);
    }
    PoseTrack trackOf(const std::string& name) const {
        return readPoseTrack(PoseTrackReader(folder / name));
    }
};

TEST_F(PoseTracks, ARecordingPlayedBackGivesTheSameEvents) {
    // Around the demo's first pinch.
    ffmpeg("-ss 3.5 -t 2 -i " + test::quoted(demo / "presenter.mp4") +
           " -an -c:v libx264 -crf 12 camera.mp4");
    const auto seen =
        render("--camera camera.mp4 --out seen.mp4 --events seen --record-poses hands.jsonl");
    ASSERT_EQ(seen.exitCode, 0) << seen.output;
    const std::string events = contents(folder / "seen");
    ASSERT_THAT(events, HasSubstr("\"phase\":\"began\""));
    const auto track = trackOf("hands.jsonl");
    EXPECT_EQ(track.frames.size(), framesOf("seen.mp4").size()) << "frames without hands too";

    const auto beside = render("--camera camera.mp4 --poses hands.jsonl --out beside.mp4 "
                               "--events beside --record-poses again.jsonl");
    ASSERT_EQ(beside.exitCode, 0) << beside.output;
    EXPECT_EQ(contents(folder / "beside"), events);
    EXPECT_EQ(contents(folder / "again.jsonl"), contents(folder / "hands.jsonl"));

    const auto alone = render("--poses hands.jsonl --out alone.mp4 --events alone");
    ASSERT_EQ(alone.exitCode, 0) << alone.output;
    EXPECT_EQ(contents(folder / "alone"), events);
    EXPECT_EQ(framesOf("alone.mp4").size(), track.frames.size());
}

TEST_F(PoseTracks, WithoutACameraTheHandsAreDrawn) {
    const auto run = lanternfly("render --size 640x360 --poses " + quotedTrack("pinch.jsonl") +
                                " --deck " + deck + " --out out.mp4");
    ASSERT_EQ(run.exitCode, 0) << run.output;
    const auto frames = framesOf("out.mp4");
    ASSERT_EQ(frames.size(), 45u);
    // Warm pixels of the right hand, lower left of the slide; none where nobody is.
    const auto warmPixels = [&](int firstX, int endX) {
        const PixelBuffer& picture = *frames.front().picture;
        int count = 0;
        for (int y = 0; y < picture.height(); ++y)
            for (int x = firstX; x < endX; ++x) {
                const uint8_t* bgra = picture.row(y) + 4 * x;
                count += bgra[2] > 180 && bgra[2] > bgra[0] + 60;
            }
        return count;
    };
    EXPECT_GT(warmPixels(0, 320), 100);
    EXPECT_EQ(warmPixels(560, 640), 0);
}

TEST_F(PoseTracks, AKilledRecordingKeepsEveryFrameThatWasSeen) {
    makeBusyClip("camera.mp4", 20);
    RunningProgram program(LANTERNFLY_PROGRAM " render --size 320x180 --camera camera.mp4 --deck " +
                               deck + " --out out.mp4 --record-poses hands.jsonl",
                           folder.path(), folder / "said.txt");
    ASSERT_TRUE(program.waitFor([&] {
        std::error_code absent;
        return std::filesystem::file_size(folder / "hands.jsonl", absent) > 500 && !absent;
    })) << contents(folder / "said.txt");
    program.kill(SIGKILL);
    program.wait();
    const auto track = trackOf("hands.jsonl");
    EXPECT_GT(track.frames.size(), 5u);
    EXPECT_EQ(track.note, "");
}

TEST_F(PoseTracks, WhatCannotBePlayedIsOneClearLine) {
    const std::string out = " --deck " + deck + " --out out.mp4";
    expectOneClearLine(lanternfly("render" + out), "--poses");
    expectOneClearLine(lanternfly("render --poses none.jsonl" + out), "none.jsonl");
    setContents(folder / "letter.txt", "Dear reader,\n");
    expectOneClearLine(lanternfly("render --poses letter.txt" + out), "letter.txt:1: ");
    expectOneClearLine(
        lanternfly("render --size 360x360 --poses " + quotedTrack("pinch.jsonl") + out),
        "1280x720");
    setContents(folder / "own.jsonl", contents(std::filesystem::path(LANTERNFLY_SOURCE_DIR) /
                                               "tests/tracks/pinch.jsonl"));
    expectOneClearLine(lanternfly("render --poses own.jsonl --record-poses own.jsonl" + out),
                       "same file");
    EXPECT_EQ(fileCount(), 2u);
}

TEST_F(PoseTracks, AFaultInTheMiddleEndsTheRenderWithItsLine) {
    setContents(folder / "broken.jsonl",
                R"({"lanternfly":"poses","version":1,"width":320,"height":180,"frameRate":30})"
                "\n{\"time\":0}\n{\"time\":0.04}\nrubbish\n{\"time\":1}\n");
    expectOneClearLine(render("--poses broken.jsonl --out out.mp4"), "broken.jsonl:4: ");
}

} // namespace
} // namespace lanternfly
