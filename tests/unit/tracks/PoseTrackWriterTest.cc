#include "tracks/PoseTrackWriter.h"

#include <cmath>
#include <fstream>

#include <gtest/gtest.h>

#include "support/BrokenFrames.h"
#include "support/TemporaryFolder.h"
#include "tracks/PoseTrackReader.h"

namespace lanternfly {
namespace {

using test::PinchHand;

struct PoseTrackWriterTest : testing::Test {
    test::TemporaryFolder folder;
    const std::filesystem::path file = folder / "talk.poses";

    PoseTrack read() const { return readPoseTrack(PoseTrackReader(file)); }
};

HandPose handAt(double seconds, PinchHand hand = {}) {
    hand.pts = MediaTime::fromNanos(std::llround(seconds * 1e9));
    return hand.pose();
}

TEST_F(PoseTrackWriterTest, WhatIsWrittenIsReadAgainAsTheSame) {
    const PoseTrack track{
        .header = {.widthPX = 1920,
                   .heightPX = 1080,
                   .frameRate = 30000.0 / 1001,
                   .about = "quotes \" and \n ends",
                   .expected = {{{GestureEvent::pinchBegan, 0.033333333, 2},
                                 {GestureEvent::peaceSign, 2.5, 0}}}},
        .frames = {{.seconds = 0},
                   {.seconds = 0.033366667,
                    .poses = {handAt(0.033366667, {.at = {1 / 3.0f, 0.1f}, .ratio = 0.123456789f}),
                              handAt(0.033366667, {.chirality = HandPose::Chirality::unknown})}},
                   {.seconds = 0.066733333, .isLookedAt = false},
                   {.seconds = 1234.5, .detectionMs = 17.25, .latencyMs = 40.125}}};
    const auto writer = PoseTrackWriter::create(file, track.header);
    ASSERT_TRUE(writer);
    for (const PoseTrackFrame& frame : track.frames)
        writer->add(frame);
    EXPECT_TRUE(writer->isWhole());
    EXPECT_EQ(read(), track);
}

TEST_F(PoseTrackWriterTest, EachFrameIsInTheFileAtOnce) {
    const auto writer = PoseTrackWriter::create(file, {});
    for (size_t count = 1; count <= 3; ++count) {
        const auto seconds = static_cast<double>(count);
        writer->add({.seconds = seconds, .poses = {handAt(seconds)}});
        EXPECT_EQ(read().frames.size(), count);
    }
}

TEST_F(PoseTrackWriterTest, AnyHandIsWrittenSoThatItCanBeReadAndIsMeasuredTheSame) {
    ManualClock clock;
    test::FrameBreaker random(7, clock);
    std::vector<HandPose> written;
    const auto writer = PoseTrackWriter::create(file, {});
    for (int i = 0; i < 500; ++i) {
        HandPose pose = PinchHand{.at = {random.real(-9, 9), random.real(-2, 2)},
                                  .ratio = random.real(0, 2),
                                  .confidence = random.real(0, 1)}
                            .pose();
        random.breakJoint(pose);
        pose.averageConfidence = i % 3 == 0 ? NAN : random.real(-1, 2);
        written.push_back(pose);
        writer->add({.seconds = i / 30.0, .poses = {pose}});
    }
    const auto track = read();
    ASSERT_EQ(track.frames.size(), written.size());
    for (size_t i = 0; i < written.size(); ++i) {
        const HandPose& again = track.frames[i].poses.at(0);
        for (const HandLandmark landmark : allHandLandmarks) {
            const auto* before = measurablePoint(written[i], landmark);
            const auto* after = again.landmarks.find(landmark);
            ASSERT_EQ(before != nullptr, after != nullptr);
            if (!before) continue;
            EXPECT_EQ(position(*before), position(*after));
            EXPECT_EQ(std::clamp(before->confidence, 0.0f, 1.0f), after->confidence);
        }
    }
}

TEST_F(PoseTrackWriterTest, FramesThatDoNotComeLaterAreLeftOut) {
    const auto writer = PoseTrackWriter::create(file, {});
    for (const double seconds : {1.0, 1.0, 0.5, 1.0000000001, double{NAN}, -1.0, 1e9, 2.0})
        writer->add({.seconds = seconds});
    EXPECT_EQ(read().frames.size(), 2u);
}

TEST_F(PoseTrackWriterTest, ARateThatNoCameraHasIsKeptWithinReason) {
    PoseTrackWriter::create(file, {.frameRate = 90'000});
    EXPECT_EQ(read().header.frameRate, 1000);
}

TEST_F(PoseTrackWriterTest, APlaceThatCannotBeWrittenGivesNoWriter) {
    EXPECT_FALSE(PoseTrackWriter::create(folder / "absent" / "talk.poses", {}));
}

TEST_F(PoseTrackWriterTest, AFullDiskIsNoticed) {
    const auto writer = PoseTrackWriter::create("/dev/full", {});
    ASSERT_TRUE(writer);
    EXPECT_FALSE(writer->isWhole());
    writer->add({.seconds = 1});
    EXPECT_FALSE(writer->isWhole());
}

} // namespace
} // namespace lanternfly
