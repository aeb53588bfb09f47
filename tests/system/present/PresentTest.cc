// `lanternfly present` and `lanternfly send` as a user runs them.
#include "PresentFixture.h"

#include <fstream>

#include "support/Environment.h"
#include "support/PrivatePipeWire.h"

namespace lanternfly::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

using PresentTest = PresentFixture;

TEST_F(PresentTest, ShowsTheDemoCameraAndEndsOnATerminationRequest) {
    present(deck + " --camera demo");
    ASSERT_TRUE(isShowingFrames()) << said();
    ASSERT_TRUE(comesTo([](const Json& now) { return now["page"] == 1; })) << said();
    const Json now = status();
    EXPECT_EQ(now["camera"]["state"], "sending");
    EXPECT_EQ(now["camera"]["name"], "Demo presenter");
    EXPECT_GT(now["pageCount"], 1);
    EXPECT_GT(now["frameMs"]["median"], 0);
    EXPECT_TRUE(now["firstFrameMs"].is_number());
    EXPECT_EQ(end(), 0) << said();
    EXPECT_THAT(said(), HasSubstr("Demo presenter | "));
    EXPECT_FALSE(std::filesystem::exists(folder / "lanternfly/control.sock"));
}

TEST_F(PresentTest, HandsAreFoundBesideThePicture) {
    present("--camera demo");
    EXPECT_TRUE(comesTo([](const Json& now) { return now["hands"]["detectionMs"].is_number(); }));
    EXPECT_EQ(end(SIGINT), 0);
}

TEST_F(PresentTest, ObeysCommandsAndSaysWhatIsWrongWithOthers) {
    present(deck + " --camera demo");
    ASSERT_TRUE(comesTo([](const Json& now) { return now["page"] == 1; })) << said();
    EXPECT_EQ(lanternfly("send next-page").exitCode, 0);
    EXPECT_EQ(status()["page"], 2);
    EXPECT_EQ(lanternfly("send ink-colour '#112233'").exitCode, 0);
    EXPECT_EQ(lanternfly("send draw enter").exitCode, 0);
    EXPECT_EQ(status()["mode"], "drawing");
    const auto unknown = lanternfly("send nxt-page");
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_THAT(unknown.output,
                AllOf(StartsWith("lanternfly: "), HasSubstr("did you mean next-page?")));
    EXPECT_THAT(lanternfly("send go-to-page 99").output, HasSubstr("there is no page 99"));
    EXPECT_EQ(lanternfly("send quit").exitCode, 0);
    EXPECT_EQ(show->wait(), 0) << said();
}

TEST_F(PresentTest, AnotherDeckIsOpenedWhileItRuns) {
    present("--camera demo");
    ASSERT_TRUE(isShowingFrames()) << said();
    EXPECT_THAT(lanternfly("send next-page").output, HasSubstr("open a PDF first"));
    folder.write("bad.pdf", "this is no PDF");
    const auto bad = lanternfly("send open bad.pdf");
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_THAT(bad.output, HasSubstr("bad.pdf"));
    EXPECT_EQ(lanternfly("send open " + deck).exitCode, 0);
    EXPECT_EQ(status()["page"], 1);
    EXPECT_EQ(end(), 0);
}

TEST_F(PresentTest, PlaysAScript) {
    std::ofstream(folder / "talk.script") << "0 next-page\n0.1 next-page\n0.2 darken 0.5\n";
    present(deck + " --camera demo --script talk.script --events events.jsonl");
    ASSERT_TRUE(comesTo([](const Json& now) { return now["page"] == 3; })) << said();
    ASSERT_TRUE(isShowingFrames());
    EXPECT_EQ(end(), 0) << said();
    EXPECT_THAT(contents(folder / "events.jsonl"),
                AllOf(HasSubstr("\"next-page\""), HasSubstr("\"type\":\"end\"")));
}

TEST_F(PresentTest, WritesATrace) {
    present("--camera demo --trace trace.json");
    ASSERT_TRUE(isShowingFrames(10)) << said();
    EXPECT_EQ(end(), 0) << said();
    const auto trace = Json::parse(contents(folder / "trace.json"), nullptr, false);
    ASSERT_TRUE(trace.is_array());
    int begun = 0, ended = 0;
    for (const Json& event : trace)
        if (event["name"] == "frame") ++(event["ph"] == "b" ? begun : ended);
    EXPECT_GE(begun, 10);
    EXPECT_EQ(begun, ended);
}

TEST_F(PresentTest, RecordsWhatItShows) {
    present("--camera demo --output file:talk.mkv");
    ASSERT_TRUE(isShowingFrames(10)) << said();
    EXPECT_EQ(status()["outputs"][0]["name"], "talk.mkv");
    const auto second =
        lanternfly("present --no-window --camera demo --size 320x180 --output file:talk.mkv");
    EXPECT_THAT(second.output, HasSubstr("already"));
    EXPECT_EQ(end(), 0) << said();
    const auto probe = shell("ffprobe -v error -count_frames -select_streams v -show_entries "
                             "stream=width,nb_read_frames -of csv=p=0 " +
                             quoted(folder / "talk.mkv"));
    EXPECT_EQ(probe.exitCode, 0) << probe.output;
    int width = 0, frames = 0;
    EXPECT_EQ(sscanf(probe.output.c_str(), "%d,%d", &width, &frames), 2) << probe.output;
    EXPECT_EQ(width, 320);
    EXPECT_GE(frames, 5);
}

TEST_F(PresentTest, SoundIsRecordedUnlessItIsRefused) {
    for (const auto& [refusal, kinds] :
         {std::pair{"", "video\naudio\n"}, std::pair{" --no-sound", "video\n"}}) {
        present("--camera demo --output file:talk.mkv" + std::string(refusal));
        ASSERT_TRUE(isShowingFrames(10)) << said();
        EXPECT_EQ(end(), 0) << said();
        EXPECT_EQ(shell("ffprobe -v error -show_entries stream=codec_type -of csv=p=0 " +
                        quoted(folder / "talk.mkv"))
                      .output,
                  kinds);
    }
}

TEST_F(PresentTest, ASystemWithoutPipeWireIsNoHindrance) {
    const ScopedVariable without("PIPEWIRE_CONFIG_DIR", folder.path().string());
    present("--camera demo --output pipewire,file:talk.mkv");
    ASSERT_TRUE(isShowingFrames()) << said();
    EXPECT_TRUE(comesTo([](const Json& now) {
        return now["outputs"][0]["state"] == "waiting" && now["outputs"][1]["sentFrames"] > 3;
    })) << said();
    EXPECT_THAT(said(), HasSubstr("PipeWire"));
    EXPECT_EQ(end(), 0) << said();
}

TEST_F(PresentTest, ADiskThatIsFullEndsTheRecordingAndNotTheShow) {
    present("--camera demo --output file:talk.mkv");
    ASSERT_TRUE(isShowingFrames()) << said();
    show->limitFileSize(20'000);
    EXPECT_TRUE(comesTo([](const Json& now) { return now["outputs"][0]["state"] == "failed"; }));
    const int frames = status()["frames"];
    EXPECT_TRUE(isShowingFrames(frames + 3));
    EXPECT_THAT(said(), HasSubstr("talk.mkv"));
    EXPECT_EQ(end(), 0) << said();
}

TEST_F(PresentTest, ASecondShowIsRefusedAndTheFirstGoesOn) {
    present("--camera demo");
    ASSERT_TRUE(isShowingFrames()) << said();
    const auto second = lanternfly("present --no-window --camera demo --size 320x180");
    EXPECT_EQ(second.exitCode, 1);
    EXPECT_THAT(second.output, HasSubstr("something is being presented already"));
    EXPECT_TRUE(status().is_object());
    EXPECT_EQ(end(), 0);
}

TEST_F(PresentTest, AShowThatWasKilledLeavesNothingInTheWay) {
    present("--camera demo");
    ASSERT_TRUE(isShowingFrames()) << said();
    end(SIGKILL);
    EXPECT_TRUE(std::filesystem::exists(folder / "lanternfly/control.sock"));
    EXPECT_THAT(lanternfly("send next-page").output, HasSubstr("nothing is being presented"));
    present("--camera demo");
    EXPECT_TRUE(isShowingFrames()) << said();
    EXPECT_EQ(end(), 0);
}

TEST_F(PresentTest, AnotherCameraIsTakenOnRequest) {
    present("--camera demo");
    ASSERT_TRUE(isShowingFrames()) << said();
    EXPECT_EQ(lanternfly("send camera Demo presenter").exitCode, 0);
    const auto unknown = lanternfly("send camera nobodys");
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_THAT(unknown.output, HasSubstr("no camera nobodys is attached"));
    const int frames = status()["frames"];
    EXPECT_TRUE(isShowingFrames(frames + 3)) << said();
    EXPECT_EQ(end(), 0);
}

TEST_F(PresentTest, PipeWireMayBeRestartedUnderAShow) {
    if (const std::string missing = PrivatePipeWire::missing(); !missing.empty())
        GTEST_SKIP() << missing;
    PrivatePipeWire pipewire;
    const ScopedVariable where("PIPEWIRE_RUNTIME_DIR", (pipewire.folder() / "run").string());
    ASSERT_TRUE(pipewire.start()) << pipewire.log();
    const auto comesToOutput = [&](const char* state) {
        return comesTo([&](const Json& now) { return now["outputs"][0]["state"] == state; });
    };
    present("--camera demo --output pipewire");
    ASSERT_TRUE(comesToOutput("idle")) << said();
    pipewire.kill();
    ASSERT_TRUE(comesToOutput("waiting")) << said();
    const int frames = status()["frames"];
    EXPECT_TRUE(isShowingFrames(frames + 3)) << said();
    ASSERT_TRUE(pipewire.start()) << pipewire.log();
    EXPECT_TRUE(comesToOutput("idle")) << said();
    EXPECT_THAT(said(), AllOf(HasSubstr("PipeWire"), HasSubstr("virtual camera works")));
    EXPECT_EQ(end(), 0);
}

TEST_F(PresentTest, WithoutACameraTheSlideIsShownOnAPlainPicture) {
    present(deck + " --camera nowhere-to-be-found");
    ASSERT_TRUE(comesTo([](const Json& now) {
        return now["standIns"] > 3 && now["camera"]["state"] != "starting";
    })) << said();
    const Json now = status();
    if (now["camera"]["state"] == "none") {
        EXPECT_THAT(said(), HasSubstr("lanternfly: no camera found; plug one in"));
    }
    EXPECT_EQ(end(), 0);
}

TEST_F(PresentTest, WhatIsWrongWithTheFilesIsOneClearLine) {
    folder.write("bad.pdf", "this is no PDF");
    folder.write("bad.mp4", "this is no video");
    folder.write("bad.script", "1 nxt-page\n");
    const std::pair<std::string, std::string> cases[]{
        {"bad.pdf --camera demo", "bad.pdf"},
        {"missing.pdf --camera demo", "missing.pdf"},
        {deck + " --page 99 --camera demo", "has no page 99"},
        {"--camera ./missing.mp4", "missing.mp4"},
        {"--camera bad.mp4", "bad.mp4"},
        {"--camera demo --script bad.script", "line 1"},
        {"--camera demo --output nowhere", "nowhere"},
        {"--camera demo --device vulkan:nosuch", "there is no device"},
        {"--camera demo --events " + deck + " " + deck, "the same file"}};
    for (const auto& [arguments, about] : cases) {
        // Whether PipeWire runs is not asked here.
        const std::string output =
            arguments.find("--output") == arguments.npos ? " --output none" : "";
        const auto run = lanternfly("present --no-window --size 320x180 " + arguments + output);
        EXPECT_EQ(run.exitCode, 1) << arguments << run.output;
        EXPECT_THAT(run.output, AllOf(StartsWith("lanternfly: "), HasSubstr(about))) << arguments;
        EXPECT_EQ(std::count(run.output.begin(), run.output.end(), '\n'), 1) << run.output;
    }
}

TEST_F(PresentTest, WithoutADisplayItSaysHowToDoWithout) {
    const auto run = lanternfly("present --camera demo");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.output, "lanternfly: there is no display for a window; use --no-window to "
                          "present without one\n");
    const auto lost =
        shell(environment() + "env DISPLAY=:4711 " LANTERNFLY_PROGRAM " present --camera demo");
    EXPECT_EQ(lost.exitCode, 1);
    EXPECT_THAT(lost.output, HasSubstr("use --no-window"));
}

TEST_F(PresentTest, DamagedBindingsAreToldAndTheBuiltInOnesAreUsed) {
    std::filesystem::create_directories(folder / "config/lanternfly");
    std::ofstream(folder / "config/lanternfly/bindings.json") << "{";
    present("--camera demo");
    ASSERT_TRUE(isShowingFrames()) << said();
    EXPECT_THAT(said(), AllOf(HasSubstr("bindings.json"), HasSubstr("the built-in bindings")));
    EXPECT_EQ(end(), 0);
}

TEST_F(PresentTest, SettingsAreKeptAndTakenUpAgain) {
    present("--camera demo --mirror --save-settings");
    ASSERT_TRUE(isShowingFrames()) << said();
    EXPECT_EQ(end(), 0);
    present("");
    ASSERT_TRUE(isShowingFrames()) << said();
    EXPECT_EQ(status()["camera"]["name"], "Demo presenter");
    EXPECT_EQ(end(), 0);
    std::ofstream(folder / "config/lanternfly/present.json") << "{";
    present("--camera demo");
    ASSERT_TRUE(isShowingFrames()) << said();
    EXPECT_THAT(said(), HasSubstr("present.json: this is no JSON"));
    EXPECT_EQ(end(), 0);
}

TEST_F(PresentTest, SendListsWhatCanBeSentWithoutAShow) {
    const auto run = lanternfly("send --list");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.output, AllOf(HasSubstr("next-page"), HasSubstr("status"), HasSubstr("quit")));
    EXPECT_THAT(lanternfly("send").output, HasSubstr("nothing to send"));
}

} // namespace
} // namespace lanternfly::test
