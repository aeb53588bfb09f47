#include <chrono>
#include <cstring>

#include <nlohmann/json.hpp>

#include "support/ColourBars.h"
#include "support/Environment.h"
#include "system/render/RenderFixture.h"

namespace lanternfly {
namespace {

using test::contents;
using test::quoted;
using testing::HasSubstr;

using Render = test::RenderFixture;

TEST_F(Render, EveryFrameOfAVideoWithoutAPersonCarriesTheSlide) {
    ffmpeg("-f lavfi -i testsrc=s=640x360:r=30:d=1 -vf eq=brightness=-0.3:saturation=0 "
           "-c:v libx264 -pix_fmt yuv420p camera.mp4");
    const auto run = render("--camera camera.mp4 --out out.mp4 --events events");
    ASSERT_EQ(run.exitCode, 0) << run.output;
    EXPECT_THAT(run.output, HasSubstr("out.mp4: 30 frames"));
    EXPECT_THAT(run.output, HasSubstr("in 0 of 30 frames"));
    const auto frames = framesOf("out.mp4");
    ASSERT_EQ(frames.size(), 30u);
    EXPECT_EQ(frames[0].picture->width(), 320);
    EXPECT_EQ(frames[0].picture->height(), 180);
    EXPECT_EQ(contents(folder / "events"),
              "{\"type\":\"page\",\"frame\":0,\"time\":0.0000,\"page\":1}\n"
              "{\"type\":\"end\",\"frames\":30}\n");
    for (size_t i = 0; i < frames.size(); ++i)
        EXPECT_NEAR(frames[i].pts.seconds(), static_cast<double>(i) / 30, 0.001);
}

TEST_F(Render, TheSlideHangsInItsCornerAndTheRestIsTheCamera) {
    makePlainClip("camera.mp4", "0xA0B0C0", 0.3);
    ASSERT_EQ(render("--camera camera.mp4 --out plain.mp4").exitCode, 0);
    const auto picture = framesOf("plain.mp4").at(5).picture;
    // Away from the pane the picture is the camera's colour; on the pane it is not.
    const uint8_t* camera = picture->row(150) + 250 * 4;
    EXPECT_NEAR(camera[2], 0xA0, 4);
    EXPECT_NEAR(camera[1], 0xB0, 4);
    EXPECT_NEAR(camera[0], 0xC0, 4);
    const double plain = (0xA0 + 0xB0 + 0xC0) / 3.0;
    EXPECT_GT(std::abs(brightness(*picture, 0.05, 0.08, 0.35, 0.34) - plain), 60);
    EXPECT_NEAR(brightness(*picture, 0.5, 0.6, 0.95, 0.95), plain, 4);
}

TEST_F(Render, VulkanDrawsWhatTheCpuDraws) {
    makePlainClip("camera.mp4", "0xA0B0C0", 0.3);
    ASSERT_EQ(render("--camera camera.mp4 --out cpu.mp4").exitCode, 0);
    // The driver is unloaded before the program ends, and the leak checker cannot name its memory.
    const test::ScopedVariable unchecked("ASAN_OPTIONS", "detect_leaks=0");
    const auto run = render("--camera camera.mp4 --out vulkan.mp4 --device vulkan");
    if (run.output.find("there is no device") != std::string::npos)
        GTEST_SKIP() << "this machine has no Vulkan 1.3 device";
    ASSERT_EQ(run.exitCode, 0) << run.output;
    const auto cpu = framesOf("cpu.mp4");
    const auto vulkan = framesOf("vulkan.mp4");
    ASSERT_EQ(vulkan.size(), cpu.size());
    EXPECT_NEAR(brightness(*vulkan[5].picture, 0.05, 0.08, 0.35, 0.34),
                brightness(*cpu[5].picture, 0.05, 0.08, 0.35, 0.34), 2);
}

TEST_F(Render, ADeviceThatIsNotThereIsOneClearLine) {
    makePlainClip("camera.mp4", "0xA0B0C0", 0.3);
    const auto run = render("--camera camera.mp4 --out out.mp4 --device abacus");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.output, HasSubstr("there is no device abacus here; leave --device out"));
    EXPECT_FALSE(std::filesystem::exists(folder / "out.mp4"));
}

TEST_F(Render, MirroringTurnsTheCameraAndTheSidesOfTheSlide) {
    // Dark on the left, bright on the right.
    ffmpeg("-f lavfi -i color=0x202020:s=320x360:r=30:d=0.2 -f lavfi -i "
           "color=0xC0C0C0:s=320x360:r=30:d=0.2 -filter_complex hstack -c:v libx264 "
           "-pix_fmt yuv420p camera.mp4");
    ASSERT_EQ(render("--camera camera.mp4 --out straight.mp4").exitCode, 0);
    ASSERT_EQ(render("--mirror --camera camera.mp4 --out mirrored.mp4").exitCode, 0);
    const auto straight = framesOf("straight.mp4").at(0).picture;
    const auto mirrored = framesOf("mirrored.mp4").at(0).picture;
    EXPECT_NEAR(brightness(*straight, 0.05, 0.7, 0.4, 0.95), 0x20, 4);
    EXPECT_NEAR(brightness(*mirrored, 0.05, 0.7, 0.4, 0.95), 0xC0, 4);
    // The corner that has no slide shows the camera.
    EXPECT_NEAR(brightness(*straight, 0.7, 0.05, 0.95, 0.35), 0xC0, 4);
    EXPECT_NEAR(brightness(*mirrored, 0.05, 0.05, 0.3, 0.35), 0xC0, 4);
}

TEST_F(Render, APortraitCameraIsCroppedOrShownWithBars) {
    ffmpeg("-f lavfi -i color=0x808080:s=180x320:r=30:d=0.2 -c:v libx264 -pix_fmt yuv420p "
           "camera.mp4");
    ASSERT_EQ(render("--camera camera.mp4 --out crop.mp4").exitCode, 0);
    ASSERT_EQ(render("--framing bars --camera camera.mp4 --out bars.mp4").exitCode, 0);
    EXPECT_NEAR(brightness(*framesOf("crop.mp4").at(0).picture, 0.85, 0.7, 0.99, 0.99), 0x80, 4);
    EXPECT_NEAR(brightness(*framesOf("bars.mp4").at(0).picture, 0.85, 0.7, 0.99, 0.99), 0, 4);
    EXPECT_NEAR(brightness(*framesOf("bars.mp4").at(0).picture, 0.47, 0.7, 0.53, 0.99), 0x80, 4);
}

TEST_F(Render, TheSameInputGivesTheSameBytes) {
    ffmpeg("-i " + test::quoted(demo / "presenter.mp4") +
           " -ss 4 -t 2 -c:v libx264 -an camera.mp4");
    for (const std::string name : {"a.mp4", "b.mp4", "a.mkv", "b.mkv"})
        ASSERT_EQ(
            render("--camera camera.mp4 --out " + name + " --events " + name + ".events").exitCode,
            0);
    EXPECT_EQ(contents(folder / "a.mp4"), contents(folder / "b.mp4"));
    EXPECT_EQ(contents(folder / "a.mkv"), contents(folder / "b.mkv"));
    EXPECT_EQ(contents(folder / "a.mp4.events"), contents(folder / "b.mp4.events"));
    EXPECT_EQ(contents(folder / "a.mp4.events"), contents(folder / "a.mkv.events"));
    EXPECT_THAT(contents(folder / "a.mp4.events"), HasSubstr("\"chirality\":\"right\""));
}

TEST_F(Render, WithFacesTheEventsSayWhereTheFaceIs) {
    ffmpeg("-i " + quoted(demo / "presenter.mp4") + " -frames:v 13 -c copy camera.mp4");
    const auto run = render("--camera camera.mp4 --out out.mp4 --events events --faces");
    ASSERT_EQ(run.exitCode, 0) << run.output;
    const std::string events = contents(folder / "events");
    EXPECT_EQ(events.find("\"face\""), events.find("\"face\",\"frame\":5,"))
        << "the sixth frame is the first to be looked at";
    EXPECT_THAT(events, HasSubstr("\"face\":[0.4"));
    ASSERT_EQ(render("--camera camera.mp4 --out out.mp4 --events events").exitCode, 0);
    EXPECT_THAT(contents(folder / "events"), testing::Not(HasSubstr("face")));
}

TEST_F(Render, OtherNetworksThatAreNotThereAreOneClearLine) {
    makePlainClip("camera.mp4", "gray", 0.1);
    expectOneClearLine(render("--camera camera.mp4 --out out.mp4 --hand-model nowhere"),
                       "The hand model \"nowhere\" cannot be used: there is no such folder.");
}

TEST_F(Render, TheTraceIsJsonWithEveryStageOfEveryFrame) {
    makePlainClip("camera.mp4", "gray", 0.2);
    ASSERT_EQ(render("--camera camera.mp4 --out out.mp4 --trace trace.json").exitCode, 0);
    const auto trace = nlohmann::json::parse(contents(folder / "trace.json"));
    const auto& events = trace.is_array() ? trace : trace["traceEvents"];
    for (const std::string stage : {"decode", "hands", "compose", "encode"})
        EXPECT_GE(std::count_if(events.begin(), events.end(),
                                [&](const auto& event) {
                                    return event.value("name", "") == stage &&
                                           event.value("ph", "") == "b";
                                }),
                  6)
            << stage;
}

TEST_F(Render, PacedLikeACameraItTakesTheClipsTimeAndCountsWhatItDrops) {
    makePlainClip("camera.mp4", "gray", 1);
    const auto before = std::chrono::steady_clock::now();
    const auto run = render("--realtime-drops --camera camera.mp4 --out out.mp4");
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - before;
    ASSERT_EQ(run.exitCode, 0) << run.output;
    EXPECT_GT(took.count(), 29 / 30.0);
    int written = 0, withoutDetection = 0, ofFrames = 0, late = 0;
    const auto drops = run.output.find("drops");
    ASSERT_NE(drops, std::string::npos);
    ASSERT_EQ(std::sscanf(run.output.c_str() + drops,
                          "drops %d of %d frames went without detection, %d came too late",
                          &withoutDetection, &ofFrames, &late),
              3)
        << run.output;
    written = static_cast<int>(framesOf("out.mp4").size());
    EXPECT_EQ(written, ofFrames);
    EXPECT_EQ(written + late, 30);
    EXPECT_LE(withoutDetection, written);
}

TEST_F(Render, SoundIsCarriedOver) {
    ffmpeg("-f lavfi -i color=gray:s=640x360:r=30:d=1 -f lavfi -i sine=440:d=1 -c:v libx264 "
           "-c:a aac camera.mp4");
    ASSERT_EQ(render("--camera camera.mp4 --out out.mp4").exitCode, 0);
    const auto sound = [&](const std::string& name) {
        return test::shell("cd " + test::quoted(folder.path()) + " && ffmpeg -v error -i " + name +
                           " -map 0:a -c copy -f data - | md5sum")
            .output;
    };
    EXPECT_EQ(sound("camera.mp4"), sound("out.mp4"));
}

TEST_F(Render, HelpAndVersionAreGivenEverywhere) {
    EXPECT_THAT(lanternfly("--version").output, testing::MatchesRegex("lanternfly [0-9.]+\n"));
    for (const std::string command : {"", "render ", "contact-sheet ", "commands "}) {
        const auto help = lanternfly(command + "--help");
        EXPECT_EQ(help.exitCode, 0);
        EXPECT_THAT(help.output, HasSubstr("--help"));
    }
    EXPECT_THAT(lanternfly("render --help").output, HasSubstr("1920x1080"));
}

TEST_F(Render, AWrongQuestionIsOneLineAndExitCode2) {
    for (const std::string arguments :
         {"", "fly", "render", "render --colour red",
          "render --camera a.mp4 --deck d.pdf --out o.mp4 --size 1920",
          "render --camera a.mp4 --deck d.pdf --out o.mp4 --size 1921x1080",
          "render --camera a.mp4 --deck d.pdf --out o.mp4 --framing zoom",
          "render --camera a.mp4 --deck d.pdf --out o.mp4 --page one", "contact-sheet a.mp4",
          "contact-sheet a.mp4 --out a.png --columns 0"}) {
        const auto run = lanternfly(arguments);
        EXPECT_EQ(run.exitCode, 2) << arguments;
        EXPECT_EQ(std::count(run.output.begin(), run.output.end(), '\n'), 1) << run.output;
        EXPECT_THAT(run.output, testing::StartsWith("lanternfly: "));
        EXPECT_THAT(run.output, HasSubstr("--help"));
    }
    EXPECT_EQ(fileCount(), 0u);
}

} // namespace
} // namespace lanternfly
