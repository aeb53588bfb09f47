// Commands and signs, driven through the program and seen in its frames.
#include <cmath>

#include <nlohmann/json.hpp>

#include "system/render/RenderFixture.h"

namespace lanternfly {
namespace {

using nlohmann::json;
using test::contents;
using testing::HasSubstr;

constexpr double framesPerSecond = 30;

size_t frameAt(double seconds) {
    return static_cast<size_t>(std::lround(seconds * framesPerSecond));
}

std::vector<json> linesOf(const std::filesystem::path& file) {
    std::istringstream text(contents(file));
    std::vector<json> lines;
    for (std::string line; std::getline(text, line);)
        lines.push_back(json::parse(line));
    return lines;
}

struct Script : test::RenderFixture {
    static constexpr double grey = 0x80;

    // What the rectangle of the corner slide, of the middle and of the other corner show.
    static double corner(const VideoFrame& frame) {
        return brightness(*frame.picture, 0.05, 0.08, 0.3, 0.3);
    }
    static double middle(const VideoFrame& frame) {
        return brightness(*frame.picture, 0.4, 0.45, 0.6, 0.55);
    }
    static double elsewhere(const VideoFrame& frame) {
        return brightness(*frame.picture, 0.85, 0.7, 0.98, 0.95);
    }
    std::vector<VideoFrame> renderGrey(const std::string& script, double seconds,
                                       const std::string& more = "") const {
        makePlainClip("camera.mp4", "0x808080", seconds);
        write("talk.script", script);
        const auto run = render("--camera camera.mp4 --out out.mp4 --events events --script "
                                "talk.script " +
                                more);
        EXPECT_EQ(run.exitCode, 0) << run.output;
        return framesOf("out.mp4");
    }
    std::vector<json> events(const std::string& type) const {
        auto lines = linesOf(folder / "events");
        std::erase_if(lines, [&](const json& line) { return line["type"] != type; });
        return lines;
    }
    // The part of the demo that begins a little before its first frame in which the right hand is
    // as told.
    template <typename Shape>
    void cutDemo(const std::string& name, double seconds, Shape shape) const {
        const auto frames = linesOf(demo / "presenter_truth.jsonl");
        const auto first = std::find_if(frames.begin(), frames.end(), [&](const json& frame) {
            return std::any_of(frame["hands"].begin(), frame["hands"].end(), [&](const json& hand) {
                return hand["side"] == "right" && shape(hand["landmarks"]);
            });
        });
        ASSERT_NE(first, frames.end());
        const double begin = (*first)["time"];
        const double from = std::max(begin - 0.4, 0.0);
        ffmpeg("-ss " + std::to_string(from) + " -i " + test::quoted(demo / "presenter.mp4") +
               " -t " + std::to_string(seconds) + " -c:v libx264 -pix_fmt yuv420p -an " + name);
    }
    static double distance(const json& landmarks, size_t a, size_t b) {
        return std::hypot(landmarks[a][0].get<double>() - landmarks[b][0].get<double>(),
                          landmarks[a][1].get<double>() - landmarks[b][1].get<double>());
    }
    static bool isPinch(const json& landmarks) {
        return distance(landmarks, 4, 8) < 0.2 * distance(landmarks, 0, 9);
    }
    static bool isPeaceSign(const json& landmarks) {
        const auto extension = [&](size_t tip, size_t pip) {
            return distance(landmarks, tip, 0) / distance(landmarks, pip, 0);
        };
        return extension(8, 6) > 1.2 && extension(12, 10) > 1.2 && extension(16, 14) < 1.1 &&
               extension(20, 18) < 1.1;
    }
};

TEST_F(Script, APageTurnsInItsFrame) {
    const auto frames = renderGrey("0.5 next-page\n0.8 go-to-page 4\n", 1);
    ASSERT_EQ(frames.size(), 30u);
    for (size_t i = 0; i < frames.size(); ++i)
        EXPECT_EQ(corner(frames[i]) > 128, i >= frameAt(0.5) && i < frameAt(0.8)) << i;
    const auto pages = events("page");
    ASSERT_EQ(pages.size(), 3u);
    EXPECT_EQ(pages[1], (json{{"type", "page"}, {"frame", 15}, {"time", 0.5}, {"page", 2}}));
    EXPECT_EQ(events("command").at(1)["command"], "go-to-page 4");
}

TEST_F(Script, TheSlideHidesShowsAndMoves) {
    const auto frames = renderGrey("0.2 hide\n1 show\n1.5 place-centre\n", 2.2);
    EXPECT_GT(std::abs(corner(frames.at(5)) - grey), 60);
    const double fading = std::abs(corner(frames.at(frameAt(0.35))) - grey);
    EXPECT_GT(fading, 10);
    EXPECT_LT(fading, 60);
    EXPECT_NEAR(corner(frames.at(frameAt(0.7))), grey, 4);
    EXPECT_GT(std::abs(corner(frames.at(frameAt(1.4))) - grey), 60);
    EXPECT_NEAR(middle(frames.at(frameAt(1.4))), grey, 4);
    EXPECT_GT(std::abs(middle(frames.at(frameAt(2.1))) - grey), 40);
}

TEST_F(Script, SlideAndCameraChangePlacesAndThePictureDarkens) {
    const auto frames = renderGrey("0 next-page\n0.2 swap fill\n0.8 swap off\n1.4 darken 0.5\n", 2);
    EXPECT_NEAR(elsewhere(frames.at(5)), grey, 4);
    EXPECT_LT(elsewhere(frames.at(frameAt(0.3))), 40) << "the change is made in the dark";
    EXPECT_GT(elsewhere(frames.at(frameAt(0.7))), 190) << "the page's paper";
    EXPECT_NEAR(corner(frames.at(frameAt(0.7))), grey, 20) << "the camera on the pane";
    EXPECT_NEAR(elsewhere(frames.at(frameAt(1.3))), grey, 4);
    EXPECT_NEAR(elsewhere(frames.at(frameAt(1.9))), grey / 2, 4);
}

TEST_F(Script, APinchDrawsInkThatStaysWhereItWasDrawn) {
    cutDemo("camera.mp4", 2.5, isPinch);
    write("talk.script", "0 hide\n0 draw enter\n0 ink-width 12\n0 ink-colour #00FF00\n");
    ASSERT_EQ(
        render("--camera camera.mp4 --out out.mp4 --events events --script talk.script").exitCode,
        0);
    EXPECT_EQ(events("stroke").at(0)["phase"], "began");
    const auto pinches = events("pinch");
    ASSERT_GT(pinches.size(), 20u);
    const auto picture = framesOf("out.mp4").back().picture;
    // Where the hand was when it had drawn for a while.
    const json& at = pinches.at(10)["at"];
    const auto x = std::lround(at[0].get<double>() * picture->width());
    const auto y = std::lround((1 - at[1].get<double>()) * picture->height());
    const uint8_t* pixel = picture->row(static_cast<int>(y)) + x * 4;
    EXPECT_GT(pixel[1], pixel[0] + 60);
    EXPECT_GT(pixel[1], pixel[2] + 60);
}

TEST_F(Script, AHeldPeaceSignTurnsThePageOrDoesWhatTheUserSays) {
    cutDemo("camera.mp4", 1.4, isPeaceSign);
    ASSERT_EQ(render("--camera camera.mp4 --out out.mp4 --events events").exitCode, 0);
    EXPECT_EQ(events("sign").size(), 1u);
    EXPECT_EQ(events("command").at(0)["command"], "next-page");
    EXPECT_EQ(events("page").back()["page"], 2);

    write("mine.json",
          R"({"version": 1, "signs": [{"sign": "peace-sign", "command": "hide"}, {"sign": "?"}]})");
    const auto run =
        render("--camera camera.mp4 --out out.mp4 --events events --bindings mine.json");
    ASSERT_EQ(run.exitCode, 0) << run.output;
    EXPECT_THAT(run.output, HasSubstr("mine.json: signs, row 2"));
    EXPECT_EQ(events("command").at(0)["command"], "hide");
    EXPECT_EQ(events("page").size(), 1u);
}

TEST_F(Script, TheSameScriptGivesTheSameBytes) {
    cutDemo("camera.mp4", 1.5, isPinch);
    write("talk.script",
          "0 draw enter\n0.7 next-page\n0.8 draw leave\n0.9 swap fit\n1 last-page\n");
    for (const std::string name : {"a.mkv", "b.mkv"})
        ASSERT_EQ(render("--camera camera.mp4 --script talk.script --out " + name + " --events " +
                         name + ".events")
                      .exitCode,
                  0);
    EXPECT_EQ(contents(folder / "a.mkv"), contents(folder / "b.mkv"));
    EXPECT_EQ(contents(folder / "a.mkv.events"), contents(folder / "b.mkv.events"));
}

TEST_F(Script, WhatIsWrongWithItIsSaidBeforeAnythingIsWritten) {
    makePlainClip("camera.mp4", "gray", 0.2);
    const auto about = [&](const std::string& script, const std::string& answer) {
        write("talk.script", script);
        expectOneClearLine(render("--camera camera.mp4 --out out.mp4 --script talk.script"),
                           answer);
        EXPECT_FALSE(std::filesystem::exists(folder / "out.mp4"));
    };
    about("0 nxt-page\n",
          "talk.script line 1: there is no command nxt-page; did you mean next-page");
    about("\nsoon next-page\n", "talk.script line 2: soon is no time");
    about("0 go-to-page 99\n", "talk.script line 1: there is no page 99: choose 1 to");
    expectOneClearLine(render("--camera camera.mp4 --out out.mp4 --script missing.script"),
                       "missing.script: No such file");
    expectOneClearLine(render("--camera camera.mp4 --out out.mp4 --bindings missing.json"),
                       "missing.json: No such file");
    expectOneClearLine(render("--camera camera.mp4 --out talk.script --script talk.script"),
                       "are the same file");
}

TEST_F(Script, CommandsThatComeTooLateAreTold) {
    makePlainClip("camera.mp4", "gray", 0.2);
    write("talk.script", "0 hide\n9 show\n");
    const auto run = render("--camera camera.mp4 --out out.mp4 --script talk.script");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.output, HasSubstr("1 of 2 commands come after the last frame, the first in "
                                      "line 2"));
}

TEST_F(Script, TypedTextIsSeenInTheLowerLeftUntilItIsCleared) {
    const auto frames = renderGrey("0 hide\n0.2 type enter\n0.3 type-text Hello שלום 😀\n"
                                   "0.6 delete-backward\n1 clear-text\n",
                                   1.4);
    // The letters are white on a dark halo: the frame changes both ways.
    const auto changed = [&](double seconds) {
        const PixelBuffer& before = *frames[frameAt(0.1)].picture;
        const PixelBuffer& after = *frames[frameAt(seconds)].picture;
        int lighter = 0, darker = 0;
        for (int y = after.height() / 2; y < after.height(); ++y)
            for (int x = 0; x < after.width() / 2; ++x) {
                const int change = after.row(y)[4 * x + 1] - before.row(y)[4 * x + 1];
                lighter += change > 30;
                darker += change < -30;
            }
        return std::min(lighter, darker);
    };
    EXPECT_EQ(changed(0.25), 0);
    EXPECT_GT(changed(0.5), 10);
    EXPECT_GT(changed(0.8), 10);
    EXPECT_EQ(changed(1.3), 0);
    EXPECT_NEAR(elsewhere(frames[frameAt(0.5)]), grey, 4);
}

} // namespace
} // namespace lanternfly
