#include "capture/HandPoseFeed.h"

#include <future>
#include <limits>
#include <vector>

#include <pthread.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/fake/ScriptedHandPoseDetector.h"
#include "support/LogCapture.h"

namespace lanternfly {
namespace {

using test::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Picture = HandPoseScript::Picture;

std::string threadName() {
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof name);
    return name;
}

HandObservation handAt(float x, HandObservation::Chirality chirality, float confidence = 0.5f) {
    HandObservation hand;
    hand.chirality = chirality;
    hand.points.fill(HandObservation::Point{x, 0.25f, confidence});
    return hand;
}

class HandPoseFeedTest : public testing::Test {
protected:
    HandPoseFeedTest() {
        feed->setPoseCallback([this](std::span<const HandPose> poses) {
            published.emplace_back(poses.begin(), poses.end());
        });
        feed->setTelemetry(telemetry);
    }

    void startAndPrewarm() {
        script->add({}); // the prewarm's picture
        feed->start();
        feed->waitUntilIdle();
    }
    void frame(int64_t index = 0) { feed->process(camera, MediaTime::make(index, 30)); }
    void frameToTheEnd(int64_t index = 0) {
        frame(index);
        feed->waitUntilIdle();
    }
    // Until the state queue has seen all that was asked of the feed.
    void settle() { feed->isPrewarming(); }
    // Frames dropped since the last call, measured over a window of two seconds.
    double dropsCounted() {
        clock.advance(2);
        return telemetry->readout().dropsPerSecond * 2;
    }

    LogCapture log;
    ManualClock clock;
    std::shared_ptr<HandPoseScript> script = std::make_shared<HandPoseScript>();
    std::shared_ptr<TrackingTelemetry> telemetry = std::make_shared<TrackingTelemetry>(clock);
    int detectorsMade = 0;
    std::string madeOnThread;
    std::shared_ptr<HandPoseFeed> feed = HandPoseFeed::create(clock, [this] {
        ++detectorsMade;
        madeOnThread = threadName();
        return std::make_unique<ScriptedHandPoseDetector>(script);
    });
    PixelBufferRef camera = PixelBuffer::create(1920, 1080);
    std::vector<std::vector<HandPose>> published;
};

TEST_F(HandPoseFeedTest, NothingRunsBeforeTheStart) {
    frameToTheEnd();
    EXPECT_EQ(detectorsMade, 0);
    EXPECT_FALSE(feed->isPrewarming());
    EXPECT_THAT(published, IsEmpty());
    EXPECT_EQ(dropsCounted(), 0) << "a frame of a stopped feed is no drop";
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(HandPoseFeedTest, ThePrewarmLoadsTheDetectorOnTheVisionQueue) {
    script->add({.whileDetecting = [this] { clock.advanceNanos(12'340'000); }});
    feed->start();
    feed->waitUntilIdle();
    EXPECT_EQ(detectorsMade, 1);
    EXPECT_EQ(madeOnThread, "PoseFeed.vision");
    EXPECT_THAT(script->pictures(), ElementsAre(Picture{480, 270, PixelFormat::bgra8}));
    EXPECT_THAT(published, IsEmpty());
    EXPECT_TRUE(log.contains("HandPoseFeed started"));
    EXPECT_TRUE(log.contains("Vision prewarm finished in 12.3ms"));

    frameToTheEnd();
    EXPECT_EQ(detectorsMade, 1) << "made once";
}

TEST_F(HandPoseFeedTest, AFrameThatArrivesWhileThePrewarmRunsIsDroppedAndCounted) {
    script->hold();
    feed->start();
    script->waitUntilHeld();
    EXPECT_TRUE(feed->isPrewarming());
    frame();
    frame();
    settle();
    script->release();
    feed->waitUntilIdle();
    EXPECT_FALSE(feed->isPrewarming());
    EXPECT_THAT(published, IsEmpty());
    EXPECT_EQ(dropsCounted(), 2);

    frameToTheEnd();
    EXPECT_THAT(published, SizeIs(1));
}

TEST_F(HandPoseFeedTest, EveryProcessedFrameIsPublishedAlsoWithoutHands) {
    startAndPrewarm();
    script->add({.hands = {handAt(0.5f, HandObservation::Chirality::left)}});
    script->add({});
    frameToTheEnd(1);
    frameToTheEnd(2);
    ASSERT_THAT(published, SizeIs(2));
    EXPECT_THAT(published[0], SizeIs(1));
    EXPECT_THAT(published[1], IsEmpty());
}

TEST_F(HandPoseFeedTest, APoseCarriesTheFramesTimesAndTheDetectionsDuration) {
    startAndPrewarm();
    script->add({.hands = {handAt(0.5f, HandObservation::Chirality::left),
                           handAt(0.75f, HandObservation::Chirality::right)},
                 .whileDetecting = [this] { clock.advanceNanos(7'000'000); }});
    const uint64_t arrivedAt = clock.uptimeNanos();
    frameToTheEnd(41);
    ASSERT_THAT(published, ElementsAre(SizeIs(2)));
    for (const HandPose& pose : published[0]) {
        EXPECT_EQ(pose.pts, MediaTime::make(41, 30));
        EXPECT_EQ(pose.arrivedAtUptimeNanos, arrivedAt);
        EXPECT_EQ(pose.detectionDurationNanos, 7'000'000u);
    }
    EXPECT_EQ(published[0][0].chirality, HandPose::Chirality::left);
    EXPECT_EQ(published[0][1].chirality, HandPose::Chirality::right);
}

TEST_F(HandPoseFeedTest, TheCallbackRunsOnTheStateQueue) {
    std::string name;
    feed->setPoseCallback([&](std::span<const HandPose>) { name = threadName(); });
    startAndPrewarm();
    frameToTheEnd();
    EXPECT_EQ(name, "dPoseFeed.state");
}

// --- Translation -----------------------------------------------------------------------------

TEST_F(HandPoseFeedTest, EveryJointKeepsItsPlaceUnderOurName) {
    constexpr std::pair<HandJoint, HandLandmark> names[] = {
        {HandJoint::wrist, HandLandmark::wrist},
        {HandJoint::thumbTip, HandLandmark::thumbTip},
        {HandJoint::indexMCP, HandLandmark::indexMCP},
        {HandJoint::middlePIP, HandLandmark::middlePIP},
        {HandJoint::ringDIP, HandLandmark::ringDIP},
        {HandJoint::littleMCP, HandLandmark::pinkyMCP},
        {HandJoint::littleTip, HandLandmark::pinkyTip},
    };
    HandObservation hand;
    for (size_t i = 0; i < handJointCount; ++i)
        hand.points[i] = HandObservation::Point{static_cast<float>(i) / 32, 0.5f,
                                                static_cast<float>(i + 1) / 32};
    startAndPrewarm();
    script->add({.hands = {hand}});
    frameToTheEnd();
    ASSERT_THAT(published, ElementsAre(SizeIs(1)));
    const HandPose& pose = published[0][0];
    EXPECT_EQ(pose.landmarks.count(), 21u);
    for (const auto& [joint, landmark] : names) {
        const auto* point = pose.landmarks.find(landmark);
        const auto index = static_cast<float>(joint);
        ASSERT_NE(point, nullptr);
        EXPECT_EQ(*point, (HandPose::Point{index / 32, 0.5f, (index + 1) / 32}));
    }
    EXPECT_FLOAT_EQ(pose.averageConfidence, 11.0f / 32);
    EXPECT_EQ(pose.chirality, HandPose::Chirality::unknown);
}

TEST_F(HandPoseFeedTest, JointsThatWereNotDetectedHaveNoEntry) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    constexpr float infinity = std::numeric_limits<float>::infinity();
    HandObservation hand;
    const auto joint = [&](HandJoint name) -> auto& {
        return hand.points[static_cast<size_t>(name)];
    };
    joint(HandJoint::wrist) = {0.5f, 0.5f, 0.25f};
    joint(HandJoint::thumbCMC) = {0.5f, 0.5f, 0};
    joint(HandJoint::thumbMP) = {nan, 0.5f, 1};
    joint(HandJoint::thumbIP) = {0.5f, infinity, 1};
    joint(HandJoint::thumbTip) = {0.5f, 0.5f, nan};
    joint(HandJoint::indexTip) = {0.5f, 0.5f, 0.75f};
    startAndPrewarm();
    script->add({.hands = {hand}});
    frameToTheEnd();
    ASSERT_THAT(published, ElementsAre(SizeIs(1)));
    const HandPose& pose = published[0][0];
    EXPECT_EQ(pose.landmarks.count(), 2u);
    EXPECT_TRUE(pose.landmarks.contains(HandLandmark::wrist));
    EXPECT_TRUE(pose.landmarks.contains(HandLandmark::indexTip));
    EXPECT_FLOAT_EQ(pose.averageConfidence, 0.5f) << "the mean of the detected joints";
}

TEST_F(HandPoseFeedTest, AHandWithoutAnyJointHasNoConfidence) {
    startAndPrewarm();
    script->add({.hands = {HandObservation{}}});
    frameToTheEnd();
    ASSERT_THAT(published, ElementsAre(SizeIs(1)));
    EXPECT_EQ(published[0][0].averageConfidence, 0);
}

TEST_F(HandPoseFeedTest, AHandWhoseJointsCannotBeReadIsLeftOut) {
    HandObservation unreadable = handAt(0.1f, HandObservation::Chirality::left);
    unreadable.isReadable = false;
    startAndPrewarm();
    script->add({.hands = {unreadable, handAt(0.9f, HandObservation::Chirality::right)}});
    frameToTheEnd();
    ASSERT_THAT(published, ElementsAre(SizeIs(1)));
    EXPECT_EQ(published[0][0].chirality, HandPose::Chirality::right);
}

// --- One at a time ---------------------------------------------------------------------------

TEST_F(HandPoseFeedTest, FramesThatMeetARunningDetectionAreDropped) {
    startAndPrewarm();
    script->hold();
    frame(1);
    script->waitUntilHeld();
    frame(2);
    frame(3);
    settle();
    script->add({.hands = {handAt(0.5f, HandObservation::Chirality::left)}});
    script->release();
    feed->waitUntilIdle();
    ASSERT_THAT(published, SizeIs(1));
    EXPECT_EQ(dropsCounted(), 2);
    EXPECT_THAT(script->pictures(), SizeIs(2)) << "the prewarm's and the first frame's";

    script->add({.hands = {handAt(0.5f, HandObservation::Chirality::left)}});
    frameToTheEnd(4);
    ASSERT_THAT(published, SizeIs(2));
    ASSERT_THAT(published[1], SizeIs(1));
    EXPECT_EQ(published[1][0].pts, MediaTime::make(4, 30));
}

TEST_F(HandPoseFeedTest, DropsAreLoggedAtMostOnceInFiveSeconds) {
    const auto dropLines = [&] {
        std::vector<std::string> lines;
        for (const auto& line : log.lines())
            if (line.message.find("dropped") != std::string::npos) lines.push_back(line.message);
        return lines;
    };
    startAndPrewarm(); // at the feed's creation
    script->hold();
    frame();
    script->waitUntilHeld();
    const auto drop = [&] {
        frame();
        settle();
    };
    drop();
    clock.advance(5);
    drop();
    EXPECT_THAT(dropLines(), IsEmpty()) << "five seconds have not passed until they are over";
    clock.advanceNanos(1);
    drop();
    EXPECT_THAT(dropLines(), ElementsAre("HandPoseFeed dropped 3 frame(s) in last 5s due to "
                                         "in-flight Vision request"));
    drop();
    clock.advance(4);
    drop();
    EXPECT_THAT(dropLines(), SizeIs(1));
    clock.advanceNanos(1'000'000'001);
    drop();
    ASSERT_THAT(dropLines(), SizeIs(2));
    EXPECT_EQ(dropLines()[1],
              "HandPoseFeed dropped 3 frame(s) in last 5s due to in-flight Vision request")
        << "the count starts again after each line";

    script->release();
    feed->waitUntilIdle();
    clock.advance(60);
    frameToTheEnd();
    EXPECT_THAT(dropLines(), SizeIs(2)) << "no drop, no line";
}

TEST_F(HandPoseFeedTest, DropLinesAreForDebugging) {
    startAndPrewarm();
    script->hold();
    frame();
    script->waitUntilHeld();
    clock.advance(6);
    frame();
    settle();
    script->release();
    feed->waitUntilIdle();
    const auto line = log.lines().back();
    EXPECT_EQ(line.level, LogLevel::debug);
    EXPECT_EQ(line.category, "HandPoseFeed");
}

// --- Pictures --------------------------------------------------------------------------------

TEST_F(HandPoseFeedTest, TheDetectorSeesFramesWithALongSideOf480) {
    startAndPrewarm();
    frameToTheEnd();
    camera = PixelBuffer::create(1280, 720);
    frameToTheEnd();
    camera = PixelBuffer::create(480, 640);
    frameToTheEnd();
    EXPECT_THAT(script->pictures(), ElementsAre(Picture{480, 270, PixelFormat::bgra8},
                                                Picture{480, 270, PixelFormat::bgra8},
                                                Picture{480, 270, PixelFormat::bgra8},
                                                Picture{360, 480, PixelFormat::bgra8}));
    EXPECT_TRUE(log.contains("VisionDownsampler ready: 1920x1080 -> 480x270"));
    EXPECT_TRUE(log.contains("VisionDownsampler ready: 1280x720 -> 480x270"));
    EXPECT_TRUE(log.contains("VisionDownsampler ready: 480x640 -> 360x480"));
}

TEST_F(HandPoseFeedTest, AFrameThatCannotBeScaledIsShownAsItIs) {
    startAndPrewarm();
    camera = PixelBuffer::create(1920, 1080, PixelFormat::nv12);
    frameToTheEnd();
    EXPECT_EQ(script->pictures().back(), (Picture{1920, 1080, PixelFormat::nv12}));
    EXPECT_THAT(published, ElementsAre(IsEmpty())) << "this detector refuses it";
    EXPECT_TRUE(log.contains(
        "Vision hand pose request failed: Hands are looked for in BGRA pictures only."));
}

TEST_F(HandPoseFeedTest, AFrameWithoutAPictureIsIgnored) {
    startAndPrewarm();
    feed->process(nullptr, MediaTime::make(0, 30));
    feed->waitUntilIdle();
    EXPECT_THAT(published, IsEmpty());
}

// --- Start and stop --------------------------------------------------------------------------

TEST_F(HandPoseFeedTest, ASecondStartDoesNothing) {
    startAndPrewarm();
    feed->start();
    feed->waitUntilIdle();
    EXPECT_THAT(script->pictures(), SizeIs(1));
    EXPECT_EQ(log.count("HandPoseFeed started"), 1u);
}

TEST_F(HandPoseFeedTest, AfterTheStopARunningDetectionStillCallsBack) {
    startAndPrewarm();
    script->hold();
    frame();
    script->waitUntilHeld();
    feed->stop();
    frame();
    settle();
    script->release();
    feed->waitUntilIdle();
    EXPECT_THAT(published, SizeIs(1));
    EXPECT_TRUE(log.contains("HandPoseFeed stopped"));
    EXPECT_EQ(dropsCounted(), 0) << "frames of a stopped feed are not drops";
    frameToTheEnd();
    EXPECT_THAT(published, SizeIs(1));
}

TEST_F(HandPoseFeedTest, ARestartDuringADetectionStillRunsOneAtATime) {
    startAndPrewarm();
    script->hold();
    frame(1);
    script->waitUntilHeld();
    feed->stop();
    feed->start();
    EXPECT_TRUE(feed->isPrewarming());
    frame(2);
    settle();
    script->release();
    feed->waitUntilIdle(); // the detection, then the second prewarm
    EXPECT_FALSE(feed->isPrewarming());
    EXPECT_THAT(published, SizeIs(1));
    EXPECT_EQ(dropsCounted(), 1);
    frameToTheEnd(3);
    EXPECT_THAT(published, SizeIs(2));
    EXPECT_EQ(detectorsMade, 1);
}

TEST_F(HandPoseFeedTest, ARestartDuringThePrewarmIsPrewarmingUntilTheSecondOneIsOver) {
    std::promise<void> firstOver, secondMayRun;
    script->hold();
    script->add({});
    script->add({.whileDetecting = [&] {
        firstOver.set_value();
        secondMayRun.get_future().wait();
    }});
    feed->start();
    script->waitUntilHeld();
    feed->stop();
    feed->start();
    settle();
    script->release();
    firstOver.get_future().wait();
    EXPECT_TRUE(feed->isPrewarming());
    frame();
    settle();
    secondMayRun.set_value();
    feed->waitUntilIdle();
    EXPECT_FALSE(feed->isPrewarming());
    EXPECT_THAT(published, IsEmpty());
}

TEST_F(HandPoseFeedTest, TheCallbackMayStopTheFeed) {
    feed->setPoseCallback([&](std::span<const HandPose> poses) {
        published.emplace_back(poses.begin(), poses.end());
        feed->stop();
    });
    startAndPrewarm();
    frameToTheEnd();
    frameToTheEnd();
    EXPECT_THAT(published, SizeIs(1));
}

// --- Failures --------------------------------------------------------------------------------

TEST_F(HandPoseFeedTest, AFailedDetectionIsLoggedAndGivesNoHands) {
    startAndPrewarm();
    script->add({.hands = {handAt(0.5f, HandObservation::Chirality::left)},
                 .failure = "the network is out of breath"});
    script->add({.hands = {handAt(0.5f, HandObservation::Chirality::left)}});
    frameToTheEnd();
    EXPECT_THAT(published, ElementsAre(IsEmpty()));
    EXPECT_TRUE(log.contains("Vision hand pose request failed: the network is out of breath"));
    EXPECT_NE(telemetry->readout().detectionMs, std::nullopt) << "it took its time all the same";
    frameToTheEnd();
    EXPECT_THAT(published, ElementsAre(IsEmpty(), SizeIs(1)));
}

TEST_F(HandPoseFeedTest, WhateverADetectorThrowsStaysOnItsQueue) {
    startAndPrewarm();
    script->add({.whileDetecting = [] { throw 42; }});
    frameToTheEnd();
    EXPECT_THAT(published, ElementsAre(IsEmpty()));
    EXPECT_TRUE(log.contains("Vision hand pose request failed: unknown exception"));
}

TEST_F(HandPoseFeedTest, AFailedPrewarmIsLoggedAndFramesGoOn) {
    script->add({.failure = "no such layer"});
    feed->start();
    feed->waitUntilIdle();
    EXPECT_TRUE(log.contains("Vision prewarm: perform failed no such layer"));
    EXPECT_FALSE(feed->isPrewarming());
    script->add({.hands = {handAt(0.5f, HandObservation::Chirality::left)}});
    frameToTheEnd();
    EXPECT_THAT(published, ElementsAre(SizeIs(1)));
}

TEST_F(HandPoseFeedTest, WithoutADetectorFramesHaveNoHandsAndTheNextStartTriesAgain) {
    int attempts = 0;
    auto detectorless = HandPoseFeed::create(clock, [&]() -> std::unique_ptr<HandPoseDetector> {
        switch (++attempts) {
        case 1:
            throw HandPoseError(HandPoseError::Kind::modelUnreadable, "no model");
        case 2:
            return nullptr;
        }
        return std::make_unique<ScriptedHandPoseDetector>(script);
    });
    int frames = 0;
    detectorless->setPoseCallback([&](std::span<const HandPose>) { ++frames; });
    const auto runOnce = [&] {
        detectorless->start();
        detectorless->waitUntilIdle();
        detectorless->process(camera, MediaTime::make(0, 30));
        detectorless->waitUntilIdle();
        detectorless->stop();
    };
    runOnce();
    EXPECT_TRUE(log.contains("Vision prewarm: perform failed no model"));
    runOnce();
    EXPECT_TRUE(log.contains("Vision prewarm: perform failed no hand detector"));
    EXPECT_EQ(frames, 2) << "the host hears of every processed frame";
    EXPECT_EQ(attempts, 2) << "frames do not try again";
    EXPECT_THAT(script->pictures(), IsEmpty());
    runOnce();
    EXPECT_THAT(script->pictures(), SizeIs(2));
}

// --- Telemetry -------------------------------------------------------------------------------

TEST_F(HandPoseFeedTest, TelemetryHearsDetectionTimesAndIntervalsBetweenCompletions) {
    startAndPrewarm();
    EXPECT_EQ(telemetry->readout().detectionMs, std::nullopt) << "the prewarm does not count";
    script->add({.whileDetecting = [this] { clock.advanceNanos(10'000'000); }});
    script->add({.whileDetecting = [this] { clock.advanceNanos(20'000'000); }});
    frameToTheEnd();
    EXPECT_DOUBLE_EQ(*telemetry->readout().detectionMs, 10);
    EXPECT_EQ(telemetry->readout().poseIntervalMs, std::nullopt);
    clock.advanceNanos(5'000'000);
    frameToTheEnd();
    EXPECT_DOUBLE_EQ(*telemetry->readout().detectionMs, 0.2 * 20 + 0.8 * 10);
    EXPECT_DOUBLE_EQ(*telemetry->readout().poseIntervalMs, 25);
}

TEST_F(HandPoseFeedTest, WithoutTelemetryAndCallbackFramesAreProcessedAllTheSame) {
    feed->setTelemetry(nullptr);
    feed->setPoseCallback(nullptr);
    startAndPrewarm();
    frameToTheEnd();
    EXPECT_THAT(script->pictures(), SizeIs(2));
    EXPECT_EQ(telemetry->readout(), TrackingTelemetry::Readout{});
}

// --- Release ---------------------------------------------------------------------------------

TEST_F(HandPoseFeedTest, AFeedReleasedDuringADetectionEndsWithIt) {
    struct AnnouncedEnd final : HandPoseDetector {
        AnnouncedEnd(std::shared_ptr<HandPoseScript> ofScript, std::promise<void> toKeep)
            : inner(std::move(ofScript)), ended(std::move(toKeep)) {}
        ~AnnouncedEnd() override { ended.set_value(); }
        void detect(const PixelBuffer& picture, std::vector<HandObservation>& hands) override {
            inner.detect(picture, hands);
        }
        ScriptedHandPoseDetector inner;
        std::promise<void> ended;
    };
    std::promise<void> promise;
    const auto ended = promise.get_future();
    auto released = HandPoseFeed::create(
        clock, [&] { return std::make_unique<AnnouncedEnd>(script, std::move(promise)); });
    const std::weak_ptr<HandPoseFeed> watched = released;
    released->start();
    released->waitUntilIdle();
    script->hold();
    released->process(camera, MediaTime::make(0, 30));
    script->waitUntilHeld();
    released.reset();
    EXPECT_FALSE(watched.expired()) << "the detection keeps it";
    script->release();
    ended.wait();
    EXPECT_TRUE(watched.expired());
}

} // namespace
} // namespace lanternfly
