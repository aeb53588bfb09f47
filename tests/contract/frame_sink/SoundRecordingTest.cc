// Recordings with sound: it is in step with the picture, also where some of it is missing.
#include <cmath>
#include <cstring>
#include <numbers>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/fake/ScriptedSoundSource.h"
#include "platform/linux/video/RecordingSink.h"
#include "support/LogCapture.h"
#include "support/Shell.h"
#include "support/TemporaryFolder.h"

namespace lanternfly::test {
namespace {

namespace fs = std::filesystem;

constexpr int width = 64, height = 36;
constexpr int startFrame = 1000;
// An AAC frame, its encoder's delay and a bit.
constexpr double stepSeconds = 0.06;

class SoundRecordingTest : public testing::TestWithParam<const char*> {
protected:
    // Frames at thirty a second, each with its sound: white and a tone where `isLoud`, black and
    // silence elsewhere, no sound at all where `isMissing`.
    void record(int frames, const std::function<bool(int)>& isLoud,
                const std::function<bool(int)>& isMissing) {
        RecordingSink sink(
            {.file = file, .width = width, .height = height, .frameRate = {}, .sound = source});
        source->hear(early, MediaTime::make(startFrame - 60, 30));
        constexpr int samples = SoundBlock::rate / 30;
        for (int i = 0; i < frames; ++i) {
            const MediaTime pts = MediaTime::make(startFrame + i, 30);
            std::vector<float> sound(samples * SoundBlock::channels);
            for (int n = 0; n < samples && isLoud(i); ++n) {
                const double angle = 2 * std::numbers::pi * 1000 * (i * samples + n);
                sound[static_cast<size_t>(2 * n)] = sound[static_cast<size_t>(2 * n + 1)] =
                    static_cast<float>(0.5 * std::sin(angle / SoundBlock::rate));
            }
            if (!isMissing(i)) source->hear(sound, pts);
            const auto picture = PixelBuffer::create(width, height);
            std::memset(picture->data(), isLoud(i) ? 255 : 0, picture->strideBytes() * height);
            const uint64_t before = sink.status().sentFrames;
            sink.send(picture, pts);
            while (sink.isWatched() && sink.status().sentFrames == before)
                std::this_thread::yield();
        }
        sink.finish();
        EXPECT_EQ(sink.status().problem, "");
    }
    // The file's sound, one channel.
    std::vector<float> heard() {
        const fs::path raw = folder / "sound.raw";
        const auto run = shell("ffmpeg -v error -nostdin -y -i " + quoted(file) +
                               " -vn -ac 1 -ar 48000 -f f32le " + quoted(raw));
        EXPECT_EQ(run.exitCode, 0) << run.output;
        const std::string bytes = contents(raw);
        std::vector<float> samples(bytes.size() / sizeof(float));
        std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
        return samples;
    }
    // When it first becomes loud, from this time on.
    static double onset(const std::vector<float>& samples, double from = 0) {
        for (auto i = static_cast<size_t>(from * 48000); i < samples.size(); ++i)
            if (std::abs(samples[i]) > 0.1f) return static_cast<double>(i) / 48000;
        return -1;
    }

    LogCapture log;
    const TemporaryFolder folder;
    const fs::path file = folder / GetParam();
    std::vector<float> early;
    const std::shared_ptr<ScriptedSoundSource> source = std::make_shared<ScriptedSoundSource>();
};

TEST_P(SoundRecordingTest, SoundIsInStepWithThePicture) {
    record(
        60, [](int i) { return i >= 30; }, [](int) { return false; });
    const auto samples = heard();
    EXPECT_NEAR(onset(samples), 1.0, stepSeconds);
    EXPECT_NEAR(static_cast<double>(samples.size()) / 48000, 2.0, 0.1);
}

TEST_P(SoundRecordingTest, MissingSoundIsSilence) {
    record(
        60, [](int i) { return i < 15 || i >= 45; }, [](int i) { return i >= 15 && i < 45; });
    const auto samples = heard();
    EXPECT_NEAR(onset(samples), 0.0, stepSeconds);
    EXPECT_NEAR(onset(samples, 0.7), 1.5, stepSeconds);
}

TEST_P(SoundRecordingTest, ASourceThatStaysSilentStopsNothing) {
    record(
        30, [](int) { return false; }, [](int) { return true; });
    EXPECT_EQ(onset(heard()), -1);
}

TEST_P(SoundRecordingTest, WhatWasHeardBeforeTheFirstFrameIsLeftOut) {
    // A second of it, two seconds before; told once somebody records.
    early.assign(size_t{SoundBlock::rate} * SoundBlock::channels, 0.5f);
    record(
        30, [](int i) { return i >= 15; }, [](int) { return false; });
    EXPECT_NEAR(onset(heard()), 0.5, stepSeconds);
}

INSTANTIATE_TEST_SUITE_P(Containers, SoundRecordingTest, testing::Values("talk.mp4", "talk.mkv"),
                         [](const auto& entry) { return std::string(entry.param).substr(5); });

} // namespace
} // namespace lanternfly::test
