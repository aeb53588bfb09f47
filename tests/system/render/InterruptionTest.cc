#include "support/RunningProgram.h"
#include "system/render/RenderFixture.h"

namespace lanternfly {
namespace {

using test::contents;
using test::RunningProgram;
using test::setContents;

struct Interruption : test::RenderFixture {
    static constexpr uint64_t someBytes = 100'000;

    Interruption() { makeBusyClip("camera.mp4", 20); }

    std::string command(const std::string& out) const {
        return LANTERNFLY_PROGRAM " render --size 320x180 --camera camera.mp4 --deck " + deck +
               " --out " + out;
    }
    // Bytes of the video that is being written, whatever its name is until it is complete.
    uint64_t written() const {
        uint64_t bytes = 0;
        for (const auto& file : std::filesystem::directory_iterator(folder.path()))
            if (file.path().stem().string().starts_with("out")) {
                std::error_code gone;
                const auto size = std::filesystem::file_size(file.path(), gone);
                if (!gone) bytes = std::max<uint64_t>(bytes, size);
            }
        return bytes;
    }
    std::string said() const { return contents(folder / "said.txt"); }
};

TEST_F(Interruption, ATerminationRequestFinishesTheVideoThatThereIs) {
    for (const int signal : {SIGTERM, SIGINT}) {
        RunningProgram program(command("out.mp4"), folder.path(), folder / "said.txt");
        ASSERT_TRUE(program.waitFor([&] { return written() > someBytes; })) << said();
        program.kill(signal);
        EXPECT_EQ(program.wait(), 128 + signal) << said();
        EXPECT_THAT(said(), testing::HasSubstr("stopped early"));
        const auto frames = framesOf("out.mp4").size();
        EXPECT_GT(frames, 10u);
        EXPECT_LT(frames, 600u);
        std::filesystem::remove(folder / "out.mp4");
        EXPECT_EQ(fileCount(), 2u) << "nothing else is left";
    }
}

TEST_F(Interruption, AKilledMatroskaVideoPlaysAsFarAsItGot) {
    RunningProgram program(command("out.mkv"), folder.path(), folder / "said.txt");
    ASSERT_TRUE(program.waitFor([&] { return written() > someBytes; })) << said();
    program.kill(SIGKILL);
    EXPECT_EQ(program.wait(), 128 + SIGKILL);
    auto reader = VideoFileReader::open(folder / "out.mkv");
    int frames = 0;
    while (reader->next())
        ++frames;
    EXPECT_GT(frames, 10);
}

TEST_F(Interruption, AKilledMp4LeavesWhatWasThere) {
    setContents(folder / "out.mp4", "the old one");
    RunningProgram program(command("out.mp4"), folder.path(), folder / "said.txt");
    ASSERT_TRUE(program.waitFor([&] { return written() > someBytes; })) << said();
    program.kill(SIGKILL);
    program.wait();
    EXPECT_EQ(contents(folder / "out.mp4"), "the old one");
}

TEST_F(Interruption, AFullDiskIsOneClearLineAndKeepsWhatWasThere) {
    setContents(folder / "out.mp4", "the old one");
    RunningProgram program(command("out.mp4"), folder.path(), folder / "said.txt");
    ASSERT_TRUE(program.waitFor([&] { return written() > someBytes; })) << said();
    program.limitFileSize(2 * someBytes);
    EXPECT_EQ(program.wait(), 1);
    EXPECT_THAT(said(), testing::AllOf(testing::StartsWith("lanternfly: cannot go on writing"),
                                       testing::HasSubstr("out.mp4")));
    const auto lines = said();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 1) << lines;
    EXPECT_EQ(contents(folder / "out.mp4"), "the old one");
    EXPECT_EQ(fileCount(), 3u) << "camera, what was there and what was said";
}

TEST_F(Interruption, AMatroskaVideoOnAFullDiskPlaysAsFarAsItGot) {
    RunningProgram program(command("out.mkv"), folder.path(), folder / "said.txt");
    ASSERT_TRUE(program.waitFor([&] { return written() > someBytes; })) << said();
    program.limitFileSize(2 * someBytes);
    EXPECT_EQ(program.wait(), 1) << said();
    auto reader = VideoFileReader::open(folder / "out.mkv");
    int frames = 0;
    while (reader->next())
        ++frames;
    EXPECT_GT(frames, 10);
}

} // namespace
} // namespace lanternfly
