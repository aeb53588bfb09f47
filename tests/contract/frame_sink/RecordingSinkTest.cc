// Recordings, held to what every sink promises, and to more: however one ends, it plays.
#include "platform/linux/video/RecordingSink.h"

#include <csignal>
#include <filesystem>
#include <sys/resource.h>

#include <gmock/gmock.h>

#include "contract/frame_sink/FrameSinkContract.h"
#include "platform/linux/video/VideoFileReader.h"
#include "support/TemporaryFolder.h"

namespace lanternfly::test {
namespace {

using testing::HasSubstr;
namespace fs = std::filesystem;

constexpr int width = 320, height = 180;

struct Played {
    size_t frames = 0;
    PixelBufferRef lastPicture;
    double lastSeconds = 0;
    std::string damage;
};

Played played(const fs::path& file) {
    Played all;
    const auto reader = VideoFileReader::open(file);
    while (const auto frame = reader->next()) {
        ++all.frames;
        all.lastPicture = frame->picture;
        all.lastSeconds = frame->pts.seconds();
    }
    all.damage = reader->damage();
    return all;
}

class RecordingMaker final : public FrameSinkMaker {
public:
    explicit RecordingMaker(std::string name) : _file(_folder / name) {}
    std::unique_ptr<FrameSink> make() override {
        return std::make_unique<RecordingSink>(
            RecordingOptions{.file = _file, .width = width, .height = height, .frameRate = {}});
    }
    bool isAlwaysWatched() const override { return true; }
    PixelBufferRef lastPicture() override { return played(_file).lastPicture; }
    int tolerance() const override { return 12; } // H.264

private:
    const TemporaryFolder _folder;
    const fs::path _file;
};

std::string nothing() {
    return {};
}

INSTANTIATE_TEST_SUITE_P(
    Implementations, FrameSinkContract,
    testing::Values(FrameSinkParameter{"Mp4", nothing,
                                       [] { return std::make_unique<RecordingMaker>("talk.mp4"); }},
                    FrameSinkParameter{
                        "Matroska", nothing,
                        [] { return std::make_unique<RecordingMaker>("talk.mkv"); }}),
    nameOfSink);

class RecordingSinkTest : public testing::TestWithParam<const char*> {
protected:
    std::unique_ptr<RecordingSink> start() {
        return std::make_unique<RecordingSink>(
            RecordingOptions{.file = file, .width = width, .height = height, .frameRate = {}});
    }
    // Frames at thirty a second that hardly compress, each waited for.
    void record(RecordingSink& sink, int count) {
        for (int i = 0; i < count; ++i) {
            const auto picture = colourBars(width, height);
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x)
                    picture->row(y)[x * 4] =
                        static_cast<uint8_t>((x * 7 + y * 13 + i * 31) * 2654435761u >> 24);
            const uint64_t before = sink.status().sentFrames;
            sink.send(picture, MediaTime::make(1000 + i, 30));
            while (sink.isWatched() && sink.status().sentFrames == before)
                std::this_thread::yield();
        }
    }

    LogCapture log;
    const TemporaryFolder folder;
    const fs::path file = folder / GetParam();
};

TEST_P(RecordingSinkTest, KeepsEveryFrameAtItsTime) {
    const auto sink = start();
    EXPECT_EQ(sink->name(), GetParam());
    record(*sink, 60);
    sink->finish();
    EXPECT_EQ(sink->status().sentFrames, 60u);
    EXPECT_EQ(sink->status().droppedFrames, 0u);
    const Played all = played(file);
    EXPECT_EQ(all.frames, 60u);
    EXPECT_NEAR(all.lastSeconds, 59.0 / 30, 0.001);
    EXPECT_EQ(all.damage, "");
}

TEST_P(RecordingSinkTest, AKilledProgramLosesAboutASecond) {
    const auto sink = start();
    record(*sink, 150);
    // What is on the disk at this moment is what a killed program leaves.
    const fs::path left = folder / (std::string("left-") + GetParam());
    fs::copy_file(file, left);
    EXPECT_GE(played(left).frames, 60u);
}

TEST_P(RecordingSinkTest, OnAFullDiskWhatWasWrittenPlays) {
    // A limit on the file's size stands for the disk: both show as a failed write.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{1'000'000, before.rlim_max};
    const auto sink = start();
    setrlimit(RLIMIT_FSIZE, &small);
    record(*sink, 600);
    setrlimit(RLIMIT_FSIZE, &before);
    ASSERT_EQ(sink->status().state, FrameSinkStatus::State::failed);
    EXPECT_THAT(sink->status().problem, HasSubstr("make room"));
    EXPECT_THAT(sink->status().problem, HasSubstr("what is written stays"));
    EXPECT_EQ(log.count(sink->status().problem), 1u);
    EXPECT_FALSE(sink->isWatched());
    sink->finish();
    EXPECT_EQ(sink->status().state, FrameSinkStatus::State::failed);
    EXPECT_GE(played(file).frames, 10u);
}

TEST_P(RecordingSinkTest, APlaceThatCannotBeWrittenIsSaidAtOnce) {
    EXPECT_THROW(RecordingSink({.file = folder / "missing" / GetParam(), .frameRate = {}}),
                 VideoError);
    EXPECT_THROW(RecordingSink({.file = folder / "talk.txt", .frameRate = {}}), VideoError);
}

TEST_P(RecordingSinkTest, WhatBoreTheNameStaysUntilTheEnd) {
    folder.write(GetParam(), "what was there before");
    auto sink = start();
    record(*sink, 5);
    EXPECT_EQ(fs::file_size(file), 21u);
    sink->finish();
    EXPECT_EQ(played(file).frames, 5u);
}

INSTANTIATE_TEST_SUITE_P(Containers, RecordingSinkTest, testing::Values("talk.mp4", "talk.mkv"),
                         [](const auto& entry) { return std::string(entry.param).substr(5); });

} // namespace
} // namespace lanternfly::test
