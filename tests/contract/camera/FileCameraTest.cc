// What only files do as cameras: they play over and over, and are virtual.
#include "platform/linux/video/FileCamera.h"

#include <filesystem>
#include <future>
#include <mutex>
#include <thread>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Clock.h"
#include "capture/CameraChoice.h"
#include "capture/CameraFeed.h"
#include "platform/linux/camera/LinuxCameras.h"
#include "platform/linux/video/VideoFileWriter.h"
#include "support/ColourBars.h"
#include "support/FrameCollector.h"
#include "support/LogCapture.h"
#include "support/TemporaryFolder.h"

namespace lanternfly::test {
namespace {

class FileCameraTest : public testing::Test {
protected:
    std::filesystem::path video(int frameCount) {
        const VideoWriterOptions options{.file = folder / "talk.mp4",
                                         .width = 64,
                                         .height = 48,
                                         .frameRate = {100, 1},
                                         .soundFrom = {}};
        auto writer = VideoFileWriter::create(options);
        for (int i = 0; i < frameCount; ++i)
            writer->write(*colourBars(64, 48), MediaTime::make(i, 100));
        writer->finish(VideoWriter::Sound::whole);
        return options.file;
    }

    TemporaryFolder folder;
    FrameCollector frames;
};

TEST_F(FileCameraTest, IsAVirtualExternalCameraOfTheFilesOneFormat) {
    const auto camera = FileCamera::create(video(2));
    EXPECT_EQ(camera->uniqueID(),
              "file:" + std::filesystem::canonical(folder / "talk.mp4").string());
    EXPECT_EQ(camera->localizedName(), "talk.mp4");
    EXPECT_EQ(camera->type(), CameraDeviceType::external);
    EXPECT_EQ(camera->transportType(), CameraTransportType::virtualDevice);
    ASSERT_EQ(camera->formats().size(), 1u);
    EXPECT_EQ(camera->formats()[0], (CameraFormat{64, 48, {{100, 100}}, false, "video"}));
}

TEST_F(FileCameraTest, PlaysOverAndOverInRisingTimes) {
    const auto stream = FileCamera::create(video(3))->open();
    ASSERT_TRUE(stream->prepare({}));
    const double before = SystemClock::shared().uptimeSeconds();
    stream->start([&](const CameraSample& sample) { frames.add(sample.buffer, sample.pts); });
    ASSERT_TRUE(frames.waitFor(10));
    stream->stop();
    const auto times = frames.times();
    EXPECT_GE(times.front().seconds(), before);
    for (size_t i = 1; i < times.size(); ++i)
        EXPECT_LT(times[i - 1].seconds(), times[i].seconds());
}

TEST_F(FileCameraTest, AFileWithOneFrameIsAStillPicture) {
    const auto stream = FileCamera::create(video(1))->open();
    stream->start([&](const CameraSample& sample) { frames.add(sample.buffer, sample.pts); });
    EXPECT_TRUE(frames.waitFor(3));
}

TEST_F(FileCameraTest, AFileThatIsNoVideoIsRefused) {
    EXPECT_THROW(FileCamera::create(folder.write("talk.mp4", "Dear diary")), VideoError);
    EXPECT_THROW(FileCamera::create(folder / "nothing.mp4"), VideoError);
}

TEST_F(FileCameraTest, AFileThatVanishedIsNotAttached) {
    const auto camera = FileCamera::create(video(2));
    std::filesystem::remove(folder / "talk.mp4");
    try {
        camera->open();
        ADD_FAILURE() << "opened";
    } catch (const CameraError& error) {
        EXPECT_EQ(error.kind, CameraError::Kind::disconnected);
    }
}

TEST_F(FileCameraTest, WhoKeepsAllPicturesMissesSomeAndTheFilePlaysOn) {
    const LogCapture log;
    std::mutex mutex;
    std::vector<PixelBufferRef> kept;
    const auto stream = FileCamera::create(video(200))->open();
    stream->start([&](const CameraSample& sample) {
        frames.add(nullptr, sample.pts);
        const std::lock_guard guard(mutex);
        kept.push_back(sample.buffer);
    });
    const double end = SystemClock::shared().uptimeSeconds() + 60;
    while (!log.contains("no picture of the video is given back") &&
           SystemClock::shared().uptimeSeconds() < end)
        std::this_thread::yield();
    const size_t before = frames.count();
    EXPECT_GT(before, 3u);
    {
        const std::lock_guard guard(mutex);
        kept.clear();
    }
    EXPECT_TRUE(frames.waitFor(before + 3));
    stream->stop();
    for (const auto& line : log.lines())
        EXPECT_NE(line.level, LogLevel::error) << line.message;
}

TEST_F(FileCameraTest, AFileThatVanishesInMidPlayIsReportedAndResumes) {
    std::promise<std::string> report;
    bool isReported = false;
    auto previous = Logger::exchangeSink([&](const LogRecord& record) {
        if (!std::exchange(isReported, true)) report.set_value(std::string(record.message));
    });
    const auto file = video(2);
    const auto stream = FileCamera::create(file)->open();
    stream->start([&](const CameraSample& sample) { frames.add(sample.buffer, sample.pts); });
    std::filesystem::rename(file, folder / "away.mp4");
    EXPECT_THAT(report.get_future().get(), testing::HasSubstr("talk.mp4"));
    const size_t before = frames.count();
    std::filesystem::rename(folder / "away.mp4", file);
    EXPECT_TRUE(frames.waitFor(before + 3));
    stream->stop();
    Logger::exchangeSink(std::move(previous));
}

TEST_F(FileCameraTest, TheDemoPresenterIsTheLastResortOfTheFeed) {
    const auto demo = FileCamera::demo();
    EXPECT_EQ(demo->uniqueID(), "demo");
    EXPECT_EQ(demo->localizedName(), "Demo presenter");
    const LogCapture log;
    EXPECT_EQ(pickCamera({demo}, std::nullopt, Logger("test")), demo);
    EXPECT_TRUE(
        log.contains("skipping virtual external camera Demo presenter (transportType=virt)"));
}

} // namespace
} // namespace lanternfly::test
