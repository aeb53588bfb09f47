// The window of `lanternfly present` as a user sees it and types into it.
#include <set>

#include "PresentFixture.h"
#include "support/Png.h"
#include "support/VirtualScreen.h"

namespace lanternfly::test {
namespace {

struct WindowSystemTest : PresentFixture {
    VirtualScreen screen;

    void SetUp() override {
        if (!screen.isThere()) GTEST_SKIP() << "no Xvfb";
    }
    void open(const std::string& arguments) {
        show = std::make_unique<RunningProgram>(
            environment() + "DISPLAY=" + screen.display() + " QT_QPA_PLATFORM=xcb " +
                LANTERNFLY_PROGRAM " present --size 640x360 --camera demo " + arguments,
            folder.path(), folder / "said");
    }
    ShellResult xdotool(const std::string& arguments) const {
        return shell("DISPLAY=" + screen.display() + " xdotool " + arguments);
    }
    bool hasWindow() const {
        return waitUntil(
            [&] { return xdotool("search --onlyvisible --name '^Lanternfly$'").exitCode == 0; });
    }
    // Types into the window, as if it were the one in front.
    void press(const std::string& keys) const {
        EXPECT_EQ(
            xdotool("search --onlyvisible --name '^Lanternfly$' windowfocus key " + keys).exitCode,
            0);
    }
    std::filesystem::path screenshot() const {
        const auto file = folder / "screen.png";
        EXPECT_EQ(shell("ffmpeg -v error -y -f x11grab -video_size 1280x800 -i " +
                        screen.display() + " -frames:v 1 " + quoted(file))
                      .exitCode,
                  0);
        return file;
    }
    // How many colours there are: a picture of a camera has many.
    size_t coloursOnScreen() const {
        const auto picture = readPng(screenshot());
        if (!picture) return 0;
        std::set<uint32_t> colours;
        for (int y = 0; y < picture->height(); y += 2)
            for (int x = 0; x < picture->width(); x += 2) {
                uint32_t colour;
                std::memcpy(&colour, picture->row(y) + 4 * x, 4);
                colours.insert(colour);
            }
        return colours.size();
    }
};

TEST_F(WindowSystemTest, ShowsTheLivePictureAndTakesKeys) {
    open(deck);
    ASSERT_TRUE(isShowingFrames()) << said();
    ASSERT_TRUE(comesTo([](const Json& now) { return now["page"] == 1; })) << said();
    ASSERT_TRUE(hasWindow());
    constexpr size_t plainWindow = 500;
    EXPECT_TRUE(waitUntil([&] { return coloursOnScreen() > plainWindow; }));
    press("Right");
    EXPECT_TRUE(comesTo([](const Json& now) { return now["page"] == 2; }));
    press("End");
    EXPECT_TRUE(comesTo([](const Json& now) { return now["page"] == now["pageCount"]; }));
    press("d");
    EXPECT_TRUE(comesTo([](const Json& now) { return now["mode"] == "drawing"; }));
    press("Escape");
    EXPECT_TRUE(comesTo([](const Json& now) { return now["mode"] == "slide"; }));
    EXPECT_EQ(status()["outputs"][0]["state"], "watched");
    EXPECT_EQ(end(), 0) << said();
}

TEST_F(WindowSystemTest, ItEndsWithItsWindowAndWithACommand) {
    open("");
    ASSERT_TRUE(isShowingFrames()) << said();
    ASSERT_TRUE(hasWindow());
    EXPECT_EQ(lanternfly("send quit").exitCode, 0);
    EXPECT_EQ(show->wait(), 0) << said();
}

} // namespace
} // namespace lanternfly::test
