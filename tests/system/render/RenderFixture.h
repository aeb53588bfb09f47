// Drives the built program as a user does: files in a folder of their own, video out.
// Threads: value.
#pragma once

#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/video/VideoFileReader.h"
#include "support/Shell.h"
#include "support/TemporaryFolder.h"

namespace lanternfly::test {

struct RenderFixture : testing::Test {
    TemporaryFolder folder;
    const std::filesystem::path demo = std::filesystem::path(LANTERNFLY_SOURCE_DIR) / "demo";
    const std::string deck = quoted(demo / "deck.pdf");

    // The arguments name files of the folder.
    ShellResult lanternfly(const std::string& arguments) const {
        // Not the settings of who runs the tests.
        return shell("cd " + quoted(folder.path()) + " && XDG_CONFIG_HOME=" +
                     quoted(folder / "config") + " " LANTERNFLY_PROGRAM " " + arguments);
    }
    // A small render, quick enough to be made often.
    ShellResult render(const std::string& arguments) const {
        return lanternfly("render --size 320x180 --deck " + deck + " " + arguments);
    }
    void ffmpeg(const std::string& arguments) const {
        const auto run =
            shell("cd " + quoted(folder.path()) + " && ffmpeg -v error -nostdin -y " + arguments);
        ASSERT_EQ(run.exitCode, 0) << run.output;
    }
    // One plain colour with nobody in it.
    void makePlainClip(const std::string& name, const std::string& colour, double seconds) const {
        ffmpeg("-f lavfi -i color=" + colour + ":s=640x360:r=30:d=" + std::to_string(seconds) +
               " -c:v libx264 -pix_fmt yuv420p " + name);
    }
    // A picture that changes all over all the time, so that its file grows.
    void makeBusyClip(const std::string& name, double seconds) const {
        ffmpeg("-f lavfi -i testsrc2=s=640x360:r=30:d=" + std::to_string(seconds) +
               " -vf noise=alls=60:allf=t -c:v libx264 -preset ultrafast -pix_fmt yuv420p " + name);
    }
    void write(const std::string& name, const std::string& text) const {
        std::ofstream(folder / name) << text;
    }
    std::vector<VideoFrame> framesOf(const std::string& name) const {
        auto reader = VideoFileReader::open(folder / name, 2000);
        std::vector<VideoFrame> frames;
        while (auto frame = reader->next())
            frames.push_back(std::move(*frame));
        EXPECT_EQ(reader->damage(), "");
        return frames;
    }
    size_t fileCount() const {
        const std::filesystem::directory_iterator files(folder.path());
        return static_cast<size_t>(std::distance(begin(files), end(files)));
    }
    // Mean of the three channels over a rectangle given in parts of the picture.
    static double brightness(const PixelBuffer& picture, double left, double top, double right,
                             double bottom) {
        double sum = 0;
        int64_t count = 0;
        for (int y = static_cast<int>(top * picture.height());
             y < static_cast<int>(bottom * picture.height()); ++y)
            for (int x = static_cast<int>(left * picture.width());
                 x < static_cast<int>(right * picture.width()); ++x, ++count)
                for (int channel = 0; channel < 3; ++channel)
                    sum += picture.row(y)[x * 4 + channel];
        return sum / static_cast<double>(3 * count);
    }
    // One line that names the program and, first of all, what it is about.
    static void expectOneClearLine(const ShellResult& run, const std::string& about) {
        EXPECT_EQ(run.exitCode, 1) << run.output;
        EXPECT_THAT(run.output, testing::StartsWith("lanternfly: "));
        EXPECT_EQ(std::count(run.output.begin(), run.output.end(), '\n'), 1) << run.output;
        EXPECT_THAT(run.output, testing::HasSubstr(about));
    }
};

} // namespace lanternfly::test
