#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <sys/resource.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/video/VideoFileReader.h"
#include "platform/linux/video/VideoFileWriter.h"
#include "support/ColourBars.h"
#include "support/Shell.h"
#include "support/TemporaryFolder.h"

namespace lanternfly {
namespace {

using test::colourBars;
using test::contents;
using test::quoted;
using test::setContents;
using test::shell;
using testing::HasSubstr;
using Kind = VideoError::Kind;

struct VideoFileTest : testing::Test {
    test::TemporaryFolder folder;

    // Runs ffmpeg quietly; the arguments name files of the folder.
    void ffmpeg(const std::string& arguments) {
        const auto run =
            shell("cd " + quoted(folder.path()) + " && ffmpeg -v error -nostdin -y " + arguments);
        ASSERT_EQ(run.exitCode, 0) << run.output;
    }
    std::string probe(const std::string& arguments) {
        return shell("cd " + quoted(folder.path()) + " && ffprobe -v error " + arguments).output;
    }
    VideoWriterOptions options(const std::string& name, int width = 320, int height = 180) {
        return {.file = folder / name,
                .width = width,
                .height = height,
                .frameRate = {30, 1},
                .soundFrom = {}};
    }
    // A moving picture, so that the encoder has work.
    static PixelBufferRef moving(int width, int height, int index) {
        auto picture = colourBars(width, height);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                picture->row(y)[x * 4] =
                    static_cast<uint8_t>((x * 7 + y * 13 + index * 31) * 2654435761u >> 24);
        return picture;
    }
    void writeMoving(const VideoWriterOptions& to, int frames) {
        auto writer = VideoFileWriter::create(to);
        for (int i = 0; i < frames; ++i)
            writer->write(*moving(to.width, to.height, i), MediaTime::make(i, 30));
        writer->finish(VideoWriter::Sound::whole);
    }
    static std::vector<VideoFrame> readAll(VideoReader& reader) {
        std::vector<VideoFrame> frames;
        while (auto frame = reader.next())
            frames.push_back(std::move(*frame));
        return frames;
    }
    static int countFrames(VideoReader& reader) {
        int count = 0;
        while (reader.next())
            ++count;
        return count;
    }
    static Kind openFailure(const std::filesystem::path& file) {
        try {
            countFrames(*VideoFileReader::open(file));
        } catch (const VideoError& error) {
            EXPECT_THAT(error.what(), HasSubstr(file.filename().string()));
            EXPECT_THAT(error.what(), testing::Not(HasSubstr("\n")));
            return error.kind;
        }
        ADD_FAILURE() << file << " was read";
        return Kind::failed;
    }
    Kind createFailure(const VideoWriterOptions& to) {
        try {
            VideoFileWriter::create(to);
        } catch (const VideoError& error) {
            EXPECT_THAT(error.what(), testing::Not(HasSubstr("\n")));
            return error.kind;
        }
        ADD_FAILURE() << to.file << " was opened";
        return Kind::failed;
    }
    size_t fileCount() const {
        const std::filesystem::directory_iterator files(folder.path());
        return static_cast<size_t>(std::distance(begin(files), end(files)));
    }
};

TEST_F(VideoFileTest, ColoursSurviveWritingAndReading) {
    for (const char* name : {"bars.mp4", "bars.mkv"}) {
        auto writer = VideoFileWriter::create(options(name));
        for (int i = 0; i < 5; ++i)
            writer->write(*colourBars(320, 180), MediaTime::make(i, 30));
        writer->finish(VideoWriter::Sound::whole);
        auto reader = VideoFileReader::open(folder / name);
        const auto frames = readAll(*reader);
        ASSERT_EQ(frames.size(), 5u);
        for (const auto& frame : frames)
            EXPECT_LE(test::worstBarError(*frame.picture), 4) << name;
        EXPECT_EQ(reader->damage(), "");
    }
    EXPECT_THAT(probe("-show_entries stream=color_range,color_space,color_transfer -of csv=p=0 "
                      "bars.mp4"),
                HasSubstr("tv,bt709,bt709"));
}

struct ColourTags {
    const char* name;
    const char* format;
    const char* matrix; // of the scaler
    const char* range;  // of the scaler
    const char* tags;
    const char* size;
};

class ColourTagsTest : public VideoFileTest, public testing::WithParamInterface<ColourTags> {};

TEST_P(ColourTagsTest, MatrixAndRangeAreTheFilesOwn) {
    const auto& tags = GetParam();
    const bool isLarge = std::string(tags.size) == "1280x720";
    const auto bars = isLarge ? colourBars(1280, 720) : colourBars(320, 180);
    std::string raw;
    for (int y = 0; y < bars->height(); ++y)
        raw.append(reinterpret_cast<const char*>(bars->row(y)),
                   static_cast<size_t>(bars->width()) * 4);
    setContents(folder / "bars.raw", raw);
    ffmpeg(std::string("-f rawvideo -pix_fmt bgra -s ") + tags.size +
           " -i bars.raw -vf scale=out_color_matrix=" + tags.matrix + ":out_range=" + tags.range +
           ",format=" + tags.format + " " + tags.tags + " -c:v ffv1 bars.mkv");
    auto reader = VideoFileReader::open(folder / "bars.mkv");
    const auto frame = reader->next();
    ASSERT_TRUE(frame);
    EXPECT_LE(test::worstBarError(*frame->picture), 4);
}

INSTANTIATE_TEST_SUITE_P(
    Reading, ColourTagsTest,
    testing::Values(ColourTags{"bt601Limited", "yuv420p", "bt601", "tv",
                               "-colorspace smpte170m -color_range tv", "320x180"},
                    ColourTags{"bt601Full", "yuv420p", "bt601", "pc",
                               "-colorspace smpte170m -color_range pc", "320x180"},
                    ColourTags{"bt709Limited", "yuv422p", "bt709", "tv",
                               "-colorspace bt709 -color_range tv", "320x180"},
                    ColourTags{"bt709Full", "yuv444p", "bt709", "pc",
                               "-colorspace bt709 -color_range pc", "320x180"},
                    ColourTags{"bt2020Limited", "yuv444p", "bt2020", "tv",
                               "-colorspace bt2020nc -color_range tv", "320x180"},
                    ColourTags{"bt709TenBit", "yuv420p10le", "bt709", "tv",
                               "-colorspace bt709 -color_range tv", "320x180"},
                    ColourTags{"rgbWithAlpha", "bgra", "bt709", "pc", "", "320x180"},
                    ColourTags{"untaggedSmallIs601", "yuv420p", "bt601", "tv", "", "320x180"},
                    ColourTags{"untaggedLargeIs709", "yuv420p", "bt709", "tv", "", "1280x720"}),
    [](const auto& tested) { return tested.param.name; });

TEST_F(VideoFileTest, OddSizesAreReadWhole) {
    ffmpeg("-f lavfi -i color=c=0x2040C0:s=64x64:r=25:d=0.2 -vf scale=321:181 -pix_fmt yuv420p "
           "-c:v ffv1 odd.mkv");
    auto reader = VideoFileReader::open(folder / "odd.mkv");
    EXPECT_EQ(reader->info().width, 321);
    EXPECT_EQ(reader->info().height, 181);
    EXPECT_EQ(reader->info().frameRate, (VideoRate{25, 1}));
    const auto frames = readAll(*reader);
    ASSERT_EQ(frames.size(), 5u);
    for (const int x : {0, 160, 320})
        for (const int y : {0, 90, 180}) {
            const uint8_t* pixel = frames[0].picture->row(y) + x * 4;
            EXPECT_NEAR(pixel[0], 0xC0, 3);
            EXPECT_NEAR(pixel[1], 0x40, 3);
            EXPECT_NEAR(pixel[2], 0x20, 3);
        }
}

TEST_F(VideoFileTest, ARotatedRecordingIsTurnedUpright) {
    ffmpeg("-f lavfi -i testsrc=s=320x180:d=0.2 -c:v libx264 -qp 0 -pix_fmt yuv420p flat.mp4");
    for (const std::string turn : {"90", "180", "270"}) {
        ffmpeg("-i flat.mp4 -c copy -metadata:s:v rotate=" + turn + " turned.mp4");
        ffmpeg("-i turned.mp4 -frames:v 1 -f rawvideo -pix_fmt bgra upright.raw");
        const auto upright = contents(folder / "upright.raw");
        auto reader = VideoFileReader::open(folder / "turned.mp4");
        const int width = turn == "180" ? 320 : 180;
        const int height = turn == "180" ? 180 : 320;
        EXPECT_EQ(reader->info().width, width);
        EXPECT_EQ(reader->info().height, height);
        EXPECT_NEAR(reader->info().displayAspect, static_cast<double>(width) / height, 0.001);
        const auto frame = reader->next();
        ASSERT_TRUE(frame);
        ASSERT_EQ(frame->picture->width(), width);
        ASSERT_EQ(frame->picture->height(), height);
        int64_t difference = 0;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width * 4; ++x)
                difference +=
                    std::abs(frame->picture->row(y)[x] -
                             static_cast<uint8_t>(upright[static_cast<size_t>(y * width * 4 + x)]));
        EXPECT_LT(difference, int64_t{width} * height * 4 * 3) << "turned by " << turn;
    }
}

TEST_F(VideoFileTest, PixelsThatAreNotSquareShowInTheDisplayAspect) {
    ffmpeg("-f lavfi -i color=gray:s=720x576:d=0.2 -vf setsar=16/11 -c:v libx264 wide.mp4");
    auto reader = VideoFileReader::open(folder / "wide.mp4");
    EXPECT_NEAR(reader->info().displayAspect, 720.0 * 16 / 11 / 576, 0.01);
}

TEST_F(VideoFileTest, FramesKeepTheirOwnTimes) {
    const std::array<int64_t, 6> ms{0, 33, 50, 133, 300, 301};
    for (const char* name : {"uneven.mp4", "uneven.mkv"}) {
        auto writer = VideoFileWriter::create(options(name));
        for (const int64_t time : ms)
            writer->write(*colourBars(320, 180), MediaTime::make(time, 1000));
        writer->finish(VideoWriter::Sound::whole);
        auto reader = VideoFileReader::open(folder / name);
        const auto frames = readAll(*reader);
        ASSERT_EQ(frames.size(), ms.size());
        for (size_t i = 0; i < ms.size(); ++i)
            EXPECT_NEAR(frames[i].pts.seconds(), static_cast<double>(ms[i]) / 1000, 0.0006) << name;
    }
}

TEST_F(VideoFileTest, TimesCountFromTheStartOfTheFile) {
    ffmpeg("-f lavfi -i testsrc=s=320x180:d=0.5 -c:v libx264 -muxdelay 3 late.ts");
    auto reader = VideoFileReader::open(folder / "late.ts");
    const auto frames = readAll(*reader);
    ASSERT_GE(frames.size(), 12u);
    EXPECT_LT(frames.front().pts.seconds(), 0.1);
    for (size_t i = 1; i < frames.size(); ++i)
        EXPECT_GT(frames[i].pts.seconds(), frames[i - 1].pts.seconds());
}

TEST_F(VideoFileTest, SoundIsCarriedOverPacketByPacket) {
    ffmpeg("-f lavfi -i testsrc=s=320x180:r=30:d=2 -f lavfi -i sine=440:d=2 "
           "-f lavfi -i sine=880:d=2 -map 0 -map 1 -map 2 -c:v libx264 -c:a:0 aac -c:a:1 libopus "
           "sound.mkv");
    const auto packets = [&](const std::string& name, int stream) {
        return shell("cd " + quoted(folder.path()) + " && ffmpeg -v error -i " + name +
                     " -map 0:a:" + std::to_string(stream) + " -c copy -f data - | md5sum")
            .output;
    };
    for (const char* name : {"out.mp4", "out.mkv"}) {
        auto to = options(name);
        to.soundFrom = folder / "sound.mkv";
        writeMoving(to, 60);
        EXPECT_EQ(packets("sound.mkv", 0), packets(name, 0)) << name;
        EXPECT_EQ(packets("sound.mkv", 1), packets(name, 1)) << name;
        EXPECT_EQ(probe(std::string("-show_entries stream=codec_name -of csv=p=0 ") + name),
                  "h264\naac\nopus\n");
        EXPECT_NEAR(
            std::stod(probe(std::string("-show_entries format=duration -of csv=p=0 ") + name)), 2.0,
            0.1);
    }
}

TEST_F(VideoFileTest, SoundThatTheContainerCannotCarryIsNamedAndLeftOut) {
    ffmpeg("-f lavfi -i testsrc=s=320x180:r=30:d=1 -f lavfi -i sine=440:d=1 "
           "-c:v libx264 -c:a pcm_s16le pcm.mkv");
    auto to = options("out.mp4");
    to.soundFrom = folder / "pcm.mkv";
    auto writer = VideoFileWriter::create(to);
    ASSERT_EQ(writer->notes().size(), 1u);
    EXPECT_THAT(writer->notes()[0], HasSubstr("sound stream 1 (pcm_s16le)"));
    writer->write(*colourBars(320, 180), MediaTime::make(0, 30));
    writer->finish(VideoWriter::Sound::whole);
    EXPECT_EQ(probe("-show_entries stream=codec_name -of csv=p=0 out.mp4"), "h264\n");

    to.file = folder / "out.mkv";
    EXPECT_TRUE(VideoFileWriter::create(to)->notes().empty());
}

TEST_F(VideoFileTest, SoundCanEndWithTheLastPicture) {
    ffmpeg("-f lavfi -i testsrc=s=320x180:r=30:d=4 -f lavfi -i sine=440:d=4 "
           "-c:v libx264 -c:a aac long.mp4");
    auto to = options("cut.mp4");
    to.soundFrom = folder / "long.mp4";
    auto writer = VideoFileWriter::create(to);
    for (int i = 0; i < 30; ++i)
        writer->write(*colourBars(320, 180), MediaTime::make(i, 30));
    writer->finish(VideoWriter::Sound::untilLastPicture);
    EXPECT_NEAR(std::stod(probe("-show_entries format=duration -of csv=p=0 cut.mp4")), 1.0, 0.1);
}

TEST_F(VideoFileTest, TheSamePicturesGiveTheSameBytes) {
    for (const std::string extension : {".mp4", ".mkv"}) {
        writeMoving(options("a" + extension), 40);
        writeMoving(options("b" + extension), 40);
        EXPECT_EQ(contents(folder / ("a" + extension)), contents(folder / ("b" + extension)));
    }
}

TEST_F(VideoFileTest, ReadingTwiceGivesTheSamePixels) {
    ffmpeg("-f lavfi -i testsrc2=s=320x180:d=1 -c:v libx264 -pix_fmt yuv420p a.mp4");
    auto first = VideoFileReader::open(folder / "a.mp4");
    auto second = VideoFileReader::open(folder / "a.mp4");
    int compared = 0;
    while (const auto a = first->next()) {
        const auto b = second->next();
        ASSERT_TRUE(b);
        for (int y = 0; y < 180; ++y)
            ASSERT_EQ(std::memcmp(a->picture->row(y), b->picture->row(y), 320 * 4), 0);
        ++compared;
    }
    EXPECT_EQ(compared, 25);
}

TEST_F(VideoFileTest, PicturesAreRecycled) {
    writeMoving(options("a.mp4"), 40);
    auto reader = VideoFileReader::open(folder / "a.mp4", 2);
    std::vector<const uint8_t*> seen;
    while (const auto frame = reader->next())
        if (std::find(seen.begin(), seen.end(), frame->picture->data()) == seen.end())
            seen.push_back(frame->picture->data());
    EXPECT_LE(seen.size(), 2u);
}

TEST_F(VideoFileTest, ATruncatedRecordingIsReadAsFarAsItGoes) {
    ffmpeg("-f lavfi -i testsrc2=s=320x180:r=30:d=3 -c:v libx264 -movflags faststart whole.mp4");
    const auto whole = contents(folder / "whole.mp4");
    setContents(folder / "half.mp4", whole.substr(0, whole.size() / 2));
    auto reader = VideoFileReader::open(folder / "half.mp4");
    const int count = countFrames(*reader);
    EXPECT_GT(count, 5);
    EXPECT_LT(count, 85);
    EXPECT_THAT(reader->damage(), HasSubstr("half.mp4"));
}

TEST_F(VideoFileTest, EveryTruncationOfAMatroskaFileEndsOrderly) {
    ffmpeg("-f lavfi -i testsrc2=s=160x90:r=30:d=1 -c:v libx264 -pix_fmt yuv420p whole.mkv");
    const auto whole = contents(folder / "whole.mkv");
    for (size_t tenth = 0; tenth < 10; ++tenth) {
        setContents(folder / "cut.mkv", whole.substr(0, whole.size() * tenth / 10));
        try {
            auto reader = VideoFileReader::open(folder / "cut.mkv");
            EXPECT_LE(countFrames(*reader), 30);
        } catch (const VideoError& error) {
            EXPECT_THAT(error.what(), HasSubstr("cut.mkv"));
        }
    }
}

TEST_F(VideoFileTest, FlippedBytesNeverStopTheReader) {
    ffmpeg("-f lavfi -i testsrc2=s=160x90:r=30:d=1 -c:v libx264 -pix_fmt yuv420p whole.mkv");
    auto bytes = contents(folder / "whole.mkv");
    for (size_t i = 700; i < bytes.size(); i += 211)
        bytes[i] = static_cast<char>(~bytes[i]);
    setContents(folder / "flipped.mkv", bytes);
    try {
        auto reader = VideoFileReader::open(folder / "flipped.mkv");
        countFrames(*reader);
        EXPECT_NE(reader->damage(), "");
    } catch (const VideoError& error) {
        EXPECT_THAT(error.what(), HasSubstr("flipped.mkv"));
    }
}

TEST_F(VideoFileTest, WhatIsNotAVideoIsRefusedWithAReason) {
    EXPECT_EQ(openFailure(folder / "missing.mp4"), Kind::notFound);
    EXPECT_EQ(openFailure(folder.path()), Kind::notAVideo);
    setContents(folder / "empty.mp4", "");
    EXPECT_EQ(openFailure(folder / "empty.mp4"), Kind::notAVideo);
    setContents(folder / "text.mp4", "this is a letter, not a video\n");
    EXPECT_EQ(openFailure(folder / "text.mp4"), Kind::notAVideo);
    ffmpeg("-f lavfi -i testsrc=s=320x180:d=0.2 -c:v libx264 indexed-last.mp4");
    setContents(folder / "headless.mp4", contents(folder / "indexed-last.mp4").substr(0, 2000));
    EXPECT_EQ(openFailure(folder / "headless.mp4"), Kind::notAVideo);
}

TEST_F(VideoFileTest, SoundAloneIsNoVideo) {
    ffmpeg("-f lavfi -i sine=440:d=1 -c:a aac tone.mp4");
    EXPECT_EQ(openFailure(folder / "tone.mp4"), Kind::noPicture);
}

TEST_F(VideoFileTest, APlayListCannotNameOtherFiles) {
    writeMoving(options("a.mp4"), 3);
    setContents(folder / "list.m3u8",
                "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\na.mp4\n#EXT-X-ENDLIST\n");
    EXPECT_EQ(openFailure(folder / "list.m3u8"), Kind::notAVideo);
    setContents(folder / "list.ffconcat", "ffconcat version 1.0\nfile a.mp4\n");
    EXPECT_EQ(openFailure(folder / "list.ffconcat"), Kind::notAVideo);
}

TEST_F(VideoFileTest, PicturesBeyond8KAreRefused) {
    ffmpeg("-f lavfi -i color=gray:s=16000x8000:r=1:d=1 -c:v mjpeg -pix_fmt yuvj420p big.avi");
    EXPECT_EQ(openFailure(folder / "big.avi"), Kind::tooLarge);
}

TEST_F(VideoFileTest, ImpossibleRequestsAreRefusedBeforeAnythingIsWritten) {
    EXPECT_EQ(createFailure(options("a.avi")), Kind::badRequest);
    EXPECT_EQ(createFailure(options("a.mp4", 321, 180)), Kind::badRequest);
    EXPECT_EQ(createFailure(options("a.mp4", 0, 180)), Kind::badRequest);
    EXPECT_EQ(createFailure(options("nowhere/a.mp4")), Kind::cannotWrite);
    std::filesystem::create_directory(folder / "folder.mp4");
    EXPECT_EQ(createFailure(options("folder.mp4")), Kind::cannotWrite);
    EXPECT_EQ(fileCount(), 1u);
    auto device = options("a.mp4");
    device.file = "/dev/full.mp4";
    std::error_code ignored;
    std::filesystem::create_symlink("/dev/full", folder / "device.mp4", ignored);
    EXPECT_EQ(createFailure(options("device.mp4")), Kind::cannotWrite);
}

TEST_F(VideoFileTest, AnUnfinishedMp4LeavesWhatWasThere) {
    setContents(folder / "a.mp4", "the old one");
    {
        auto writer = VideoFileWriter::create(options("a.mp4"));
        writer->write(*colourBars(320, 180), MediaTime::make(0, 30));
    }
    EXPECT_EQ(contents(folder / "a.mp4"), "the old one");
    EXPECT_EQ(fileCount(), 1u);
}

TEST_F(VideoFileTest, AFinishedFileReplacesWhatWasThere) {
    for (const char* name : {"a.mp4", "a.mkv"}) {
        setContents(folder / name, "the old one");
        writeMoving(options(name), 3);
        EXPECT_EQ(countFrames(*VideoFileReader::open(folder / name)), 3);
    }
    EXPECT_EQ(fileCount(), 2u);
}

TEST_F(VideoFileTest, AnUnfinishedMatroskaFilePlaysAsFarAsItGot) {
    {
        auto writer = VideoFileWriter::create(options("a.mkv"));
        for (int i = 0; i < 90; ++i)
            writer->write(*moving(320, 180, i), MediaTime::make(i, 30));
    }
    EXPECT_GT(countFrames(*VideoFileReader::open(folder / "a.mkv")), 45);
}

TEST_F(VideoFileTest, AnUnfinishedMatroskaFileDoesNotReplaceWhatWasThere) {
    setContents(folder / "a.mkv", "the old one");
    {
        auto writer = VideoFileWriter::create(options("a.mkv"));
        for (int i = 0; i < 60; ++i)
            writer->write(*moving(320, 180, i), MediaTime::make(i, 30));
    }
    EXPECT_EQ(contents(folder / "a.mkv"), "the old one");
    EXPECT_EQ(fileCount(), 2u) << "the unfinished recording stays beside it";
}

// The limit on a file's size stands for a full disk: both show as a failed write.
TEST_F(VideoFileTest, AFullDiskIsOneClearError) {
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    for (const char* name : {"full.mp4", "full.mkv"}) {
        const rlimit small{60'000, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
        try {
            writeMoving(options(name), 120);
            ADD_FAILURE() << name << " was written";
        } catch (const VideoError& error) {
            EXPECT_EQ(error.kind, Kind::diskFull) << error.what();
            EXPECT_THAT(error.what(), HasSubstr(name));
        }
        setrlimit(RLIMIT_FSIZE, &before);
    }
    std::signal(SIGXFSZ, handler);
    EXPECT_FALSE(std::filesystem::exists(folder / "full.mp4"));
    EXPECT_EQ(fileCount(), 1u) << "only the Matroska file, which plays as far as it got";
}

} // namespace
} // namespace lanternfly
