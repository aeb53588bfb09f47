#include "capture/CameraFeed.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Identity.h"
#include "platform/fake/ScriptedCameras.h"
#include "support/FrameCollector.h"
#include "support/LogCapture.h"

namespace lanternfly {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using Type = CameraDeviceType;
using Uid = std::optional<std::string>;

class CameraFeedTest : public testing::Test {
protected:
    CameraFeedTest() {
        feed->setOnDeviceChanged([this](const Uid& uid) {
            EXPECT_TRUE(mainQueue->isCurrent());
            reported.push_back(uid);
        });
        feed->setFrameCallback(
            [this](const PixelBufferRef& buffer, MediaTime pts) { frames.add(buffer, pts); });
    }

    // Until everything asked for and everything announced has been done and called back.
    void settle() {
        cameras->settle();
        feed->currentDeviceUID();
        mainQueue->sync([] {});
    }
    void start() {
        feed->start();
        settle();
    }
    std::vector<std::string> messages() {
        std::vector<std::string> texts;
        for (const auto& line : log.lines())
            texts.push_back(line.message);
        return texts;
    }
    LogLevel levelOf(const std::string& message) {
        for (const auto& line : log.lines())
            if (line.message == message) return line.level;
        ADD_FAILURE() << "not logged: " << message;
        return LogLevel::debug;
    }

    test::LogCapture log;
    std::shared_ptr<ScriptedCameras> cameras = std::make_shared<ScriptedCameras>();
    std::shared_ptr<SerialQueue> mainQueue = std::make_shared<SerialQueue>("test.main");
    std::shared_ptr<CameraFeed> feed = CameraFeed::create(cameras, executorOf(mainQueue));
    std::vector<Uid> reported;
    test::FrameCollector frames;
};

TEST_F(CameraFeedTest, StartTakesTheStepsInOrder) {
    cameras->attach({.uniqueID = "front", .localizedName = "Front"});
    start();
    EXPECT_THAT(cameras->journal(),
                ElementsAre("begin", "lock front", "format 0", "durations 1/30 1/30",
                            "unlock front", "makeInput front", "addInput front",
                            "addOutput discardsLateFrames=true "
                            "queue=org.lanternfly.Lanternfly.CameraFeed.delivery",
                            "commit", "startRunning"));
    EXPECT_THAT(messages(),
                ElementsAre("picked input Front (external)",
                            "CameraFeed format 1920x1080 (Reactions OFF) on Front",
                            "CameraFeed started on Front preset=inputPriority",
                            "Reactions: avoidedAtFormat=true systemEnabled=false gestures=false"));
    EXPECT_EQ(log.lines().front().category, "CameraFeed");
    EXPECT_EQ(feed->currentDeviceUID(), "front");
    EXPECT_THAT(reported, ElementsAre("front"));
}

TEST_F(CameraFeedTest, NothingHappensBeforeTheStart) {
    cameras->attach({.uniqueID = "front"});
    feed->setPreferredUID("front");
    cameras->detach("front");
    settle();
    EXPECT_THAT(cameras->journal(), IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_EQ(feed->currentDeviceUID(), std::nullopt);
}

TEST_F(CameraFeedTest, ASecondStartDoesNothing) {
    cameras->attach({.uniqueID = "front"});
    start();
    cameras->clearJournal();
    start();
    EXPECT_THAT(cameras->journal(), IsEmpty());
    EXPECT_THAT(reported, ElementsAre("front"));
}

TEST_F(CameraFeedTest, WithoutPermissionItSaysSoAndDoesNotStart) {
    cameras->attach({.uniqueID = "front"});
    for (const auto status : {CameraAuthorization::denied, CameraAuthorization::restricted}) {
        cameras->change([&](auto& script) { script.authorization = status; });
        start();
    }
    EXPECT_EQ(log.count("camera TCC denied; CameraFeed cannot start"), 2u);
    EXPECT_THAT(cameras->journal(), IsEmpty());

    cameras->change([](auto& script) { script.authorization = CameraAuthorization::authorized; });
    start();
    EXPECT_EQ(feed->currentDeviceUID(), "front") << "a later start tries again";
}

TEST_F(CameraFeedTest, AnUndeterminedPermissionIsAskedForAndThenTheFeedStarts) {
    cameras->attach({.uniqueID = "front"});
    cameras->change(
        [](auto& script) { script.authorization = CameraAuthorization::notDetermined; });
    start();
    EXPECT_THAT(messages(), ElementsAre("camera TCC not determined; deferring session start until "
                                        "access resolves"));
    EXPECT_THAT(cameras->journal(), IsEmpty());
    cameras->answerAccessRequests(true);
    settle();
    EXPECT_EQ(feed->currentDeviceUID(), "front");
    EXPECT_THAT(cameras->journal(), Contains("startRunning"));
}

TEST_F(CameraFeedTest, ARefusedPermissionIsAnErrorOnce) {
    cameras->change(
        [](auto& script) { script.authorization = CameraAuthorization::notDetermined; });
    start();
    cameras->answerAccessRequests(false);
    settle();
    const std::string text = "camera TCC denied; CameraFeed will not produce frames";
    EXPECT_EQ(log.count(text), 1u);
    EXPECT_EQ(levelOf(text), LogLevel::error);
    EXPECT_THAT(cameras->journal(), IsEmpty());
}

TEST_F(CameraFeedTest, AnAnswerAfterTheFeedIsGoneDoesNothing) {
    cameras->change(
        [](auto& script) { script.authorization = CameraAuthorization::notDetermined; });
    start();
    feed.reset();
    cameras->answerAccessRequests(true);
    EXPECT_THAT(cameras->journal(), IsEmpty());
    feed = CameraFeed::create(cameras, executorOf(mainQueue)); // for the fixture
}

TEST_F(CameraFeedTest, OnlyTheOwnVirtualCameraIsNoCamera) {
    cameras->attach({.uniqueID = "own",
                     .transportType = CameraTransportType::virtualDevice,
                     .manufacturer = identity::manufacturer,
                     .modelID = "Lanternfly Virtual Camera"});
    start();
    EXPECT_THAT(messages(),
                ElementsAre("skipping Lanternfly virtual camera as input (would self-loop)",
                            "no real video capture device available (only Lanternfly itself)"));
    EXPECT_THAT(cameras->journal(), IsEmpty());
    EXPECT_THAT(reported, IsEmpty());
}

TEST_F(CameraFeedTest, OnlyVirtualCamerasOfOthersAreUsedAtLast) {
    for (const char* name : {"one", "two"})
        cameras->attach({.uniqueID = name, .transportType = CameraTransportType::virtualDevice});
    start();
    EXPECT_TRUE(log.contains("skipping virtual external camera one (transportType=virt)"));
    EXPECT_TRUE(log.contains("skipping virtual external camera two (transportType=virt)"));
    EXPECT_EQ(feed->currentDeviceUID(), "one");
}

TEST_F(CameraFeedTest, AnInputThatCannotBeMadeLeavesTheFeedAsItWas) {
    cameras->attach({.uniqueID = "front", .inputFailure = "in use by another program"});
    start();
    EXPECT_TRUE(log.contains("failed to create AVCaptureDeviceInput: in use by another program"));
    EXPECT_THAT(cameras->journal(), Not(Contains("startRunning")));
    EXPECT_EQ(cameras->journal().back(), "commit");
    EXPECT_EQ(feed->currentDeviceUID(), std::nullopt);
    EXPECT_THAT(reported, IsEmpty());
    // It can be tried again.
    cameras->detach("front");
    cameras->attach({.uniqueID = "front"});
    start();
    EXPECT_EQ(feed->currentDeviceUID(), "front");
}

TEST_F(CameraFeedTest, AnInputRefusedAtFirstIsRetriedOnTheHighPreset) {
    cameras->attach(
        {.uniqueID = "front", .localizedName = "Front", .isAccepted = [](CameraPreset preset) {
             return preset == CameraPreset::high;
         }});
    start();
    EXPECT_TRUE(
        log.contains("first canAddInput failed for Front; resetting to .high preset and retrying"));
    EXPECT_TRUE(log.contains("CameraFeed started on Front preset=high"));
    EXPECT_EQ(feed->currentDeviceUID(), "front");
}

TEST_F(CameraFeedTest, AnInputRefusedAlsoOnTheHighPresetEndsTheStart) {
    cameras->attach({.uniqueID = "front", .localizedName = "Front", .isAccepted = [](CameraPreset) {
                         return false;
                     }});
    start();
    EXPECT_TRUE(
        log.contains("session rejected device input for Front (even after .high preset fallback)"));
    EXPECT_EQ(cameras->journal().back(), "commit");
    EXPECT_THAT(cameras->journal(), Not(Contains("startRunning")));
    EXPECT_EQ(feed->currentDeviceUID(), std::nullopt);
}

TEST_F(CameraFeedTest, ARefusedOutputEndsTheStartWhichCanBeTriedAgain) {
    cameras->attach({.uniqueID = "front"});
    cameras->change([](auto& script) { script.refusesOutput = true; });
    start();
    EXPECT_TRUE(log.contains("session rejected video data output"));
    EXPECT_EQ(cameras->journal().back(), "commit");
    EXPECT_THAT(cameras->journal(), Not(Contains("startRunning")));
    EXPECT_EQ(feed->currentDeviceUID(), std::nullopt);
    EXPECT_THAT(reported, IsEmpty());

    cameras->change([](auto& script) { script.refusesOutput = false; });
    start();
    EXPECT_EQ(feed->currentDeviceUID(), "front");
    EXPECT_THAT(cameras->journal(), Contains("startRunning"));
}

TEST_F(CameraFeedTest, TheStartReportsTheSystemsReactionFlags) {
    cameras->attach({.uniqueID = "front"});
    cameras->change([](auto& script) { script.reactions = {true, true}; });
    start();
    EXPECT_TRUE(log.contains("Reactions: avoidedAtFormat=true systemEnabled=true gestures=true"));
}

TEST_F(CameraFeedTest, ACameraWhoseFormatsAllSupportReactionsTakesAPreset) {
    cameras->attach({.uniqueID = "front",
                     .localizedName = "Front",
                     .formats = {{1920, 1080, {{30, 30}}, true, ""}},
                     .presets = {CameraPreset::hd1920x1080, CameraPreset::hd1280x720}});
    start();
    EXPECT_TRUE(log.contains(
        "no non-Reactions format on Front; falling back to preset (Reactions may apply)"));
    EXPECT_TRUE(log.contains("CameraFeed started on Front preset=1920x1080"));
    EXPECT_TRUE(
        log.contains("Reactions: avoidedAtFormat=false systemEnabled=false gestures=false"));
    EXPECT_THAT(cameras->journal(), Not(Contains("lock front")));
}

TEST_F(CameraFeedTest, ThePresetLadderNeedsTheDeviceAndTheSession) {
    ScriptedCamera front{.uniqueID = "front",
                         .localizedName = "Front",
                         .formats = {},
                         .presets = {CameraPreset::hd1920x1080, CameraPreset::hd1280x720}};
    cameras->change([](auto& script) { script.sessionPresets = {CameraPreset::hd1280x720}; });
    cameras->attach(front);
    start();
    EXPECT_TRUE(log.contains("1080p preset unsupported on Front; using 720p"));
    EXPECT_THAT(cameras->journal(), Contains("preset 1280x720"));

    cameras->change([](auto& script) { script.sessionPresets = {CameraPreset::high}; });
    cameras->clearJournal();
    feed->stop();
    start();
    EXPECT_TRUE(log.contains("1080p+720p presets unsupported on Front; using .high"));
    EXPECT_THAT(cameras->journal(), Contains("preset high"));
}

TEST_F(CameraFeedTest, ADeviceWithoutHdPresetsTakesHigh) {
    cameras->attach({.uniqueID = "front", .localizedName = "Front", .formats = {}});
    start();
    EXPECT_TRUE(log.contains("1080p+720p presets unsupported on Front; using .high"));
    EXPECT_THAT(cameras->journal(), Contains("preset high"));
}

TEST_F(CameraFeedTest, ADeviceThatCannotBeLockedTakesAPreset) {
    cameras->attach(
        {.uniqueID = "front", .localizedName = "Front", .lockFailure = "held by a call"});
    start();
    EXPECT_TRUE(log.contains(
        "lockForConfiguration failed on Front: held by a call; falling back to preset"));
    EXPECT_TRUE(
        log.contains("Reactions: avoidedAtFormat=false systemEnabled=false gestures=false"));
    EXPECT_THAT(cameras->journal(), Contains("preset high"));
}

TEST_F(CameraFeedTest, TheFrameRateOfPlugInDriversIsLeftAlone) {
    for (const char* name : {"AVCaptureDALDevice", "OtherDALDevicePlugIn"}) {
        cameras->attach({.uniqueID = name, .className = name});
        feed->setPreferredUID(name);
        start();
        EXPECT_THAT(cameras->journal(), Contains("format 0"));
        EXPECT_THAT(cameras->journal(), Not(Contains(testing::StartsWith("durations"))));
        EXPECT_TRUE(
            log.contains(std::string("CameraFeed format 1920x1080 (Reactions OFF) on ") + name));
    }
}

TEST_F(CameraFeedTest, AFormatWithoutThirtyRunsAsFastAsItCan) {
    cameras->attach({.uniqueID = "front", .formats = {{1920, 1080, {{5, 24.6}}, false, ""}}});
    start();
    EXPECT_THAT(cameras->journal(), Contains("durations 1/25 1/25"));
}

TEST_F(CameraFeedTest, AFormatWithoutRatesIsNotTouched) {
    cameras->attach({.uniqueID = "front", .formats = {{1920, 1080, {}, false, ""}}});
    start();
    EXPECT_THAT(cameras->journal(), Contains("format 0"));
    EXPECT_THAT(cameras->journal(), Not(Contains(testing::StartsWith("durations"))));
}

TEST_F(CameraFeedTest, FramesArriveOnTheDeliveryQueueWithoutACopy) {
    cameras->attach({.uniqueID = "front"});
    start();
    const auto sent = cameras->sendFrame(MediaTime::make(7, 30));
    ASSERT_TRUE(frames.waitFor(1));
    EXPECT_EQ(frames.frames()[0].buffer, sent);
    EXPECT_EQ(frames.frames()[0].pts, MediaTime::make(7, 30));
    EXPECT_EQ(frames.frames()[0].thread, "raFeed.delivery");
}

TEST_F(CameraFeedTest, ALateFrameIsDiscardedForANewerOne) {
    cameras->attach({.uniqueID = "front"});
    start();
    frames.hold();
    cameras->sendFrame(MediaTime::make(1, 30));
    ASSERT_TRUE(frames.waitFor(1));
    for (int i = 2; i <= 5; ++i)
        cameras->sendFrame(MediaTime::make(i, 30));
    frames.release();
    ASSERT_TRUE(frames.waitFor(2));
    EXPECT_THAT(frames.times(), ElementsAre(MediaTime::make(1, 30), MediaTime::make(5, 30)));
}

TEST_F(CameraFeedTest, ASampleWithoutAPictureIsDroppedSilently) {
    cameras->attach({.uniqueID = "front"});
    start();
    const size_t before = log.lines().size();
    cameras->sendFrame({nullptr, MediaTime::make(1, 30)});
    cameras->settle();
    // The next frame shows that the queue goes on.
    test::FrameCollector later;
    feed->setFrameCallback(
        [&](const PixelBufferRef& buffer, MediaTime pts) { later.add(buffer, pts); });
    settle();
    cameras->sendFrame(MediaTime::make(2, 30));
    ASSERT_TRUE(later.waitFor(1));
    EXPECT_EQ(frames.count(), 0u);
    EXPECT_EQ(log.lines().size(), before);
    feed->setFrameCallback({});
    feed->stop();
    settle();
}

TEST_F(CameraFeedTest, StopTakesBothEndsOutAndKeepsTheCamerasName) {
    cameras->attach({.uniqueID = "front"});
    start();
    cameras->clearJournal();
    feed->stop();
    feed->stop();
    settle();
    EXPECT_THAT(cameras->journal(),
                ElementsAre("stopRunning", "removeOutput", "removeInput front"));
    EXPECT_EQ(log.count("CameraFeed stopped"), 1u);
    EXPECT_EQ(feed->currentDeviceUID(), "front");
    EXPECT_THAT(reported, ElementsAre("front"));
}

TEST_F(CameraFeedTest, StopBeforeStartDoesNothing) {
    feed->stop();
    settle();
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(CameraFeedTest, ThePinSurvivesStopAndStart) {
    cameras->attach({.uniqueID = "front", .type = Type::builtInWideAngleCamera});
    cameras->attach({.uniqueID = "desk"});
    feed->setPreferredUID("desk");
    start();
    feed->stop();
    start();
    EXPECT_EQ(feed->currentDeviceUID(), "desk");
    EXPECT_THAT(reported, ElementsAre("desk", "desk"));
}

TEST_F(CameraFeedTest, PinningAnotherCameraSwitchesAtOnce) {
    cameras->attach({.uniqueID = "front"});
    cameras->attach({.uniqueID = "desk", .localizedName = "Desk"});
    start();
    cameras->clearJournal();
    feed->setPreferredUID("desk");
    settle();
    EXPECT_THAT(cameras->journal(), ElementsAre("begin", "removeInput front", "lock desk",
                                                "format 0", "durations 1/30 1/30", "unlock desk",
                                                "makeInput desk", "addInput desk", "commit"));
    EXPECT_EQ(levelOf("CameraFeed switched to Desk"), LogLevel::info);
    EXPECT_THAT(reported, ElementsAre("front", "desk"));
}

TEST_F(CameraFeedTest, PinningTheCurrentCameraDoesNothing) {
    cameras->attach({.uniqueID = "front"});
    start();
    cameras->clearJournal();
    feed->setPreferredUID("front");
    settle();
    EXPECT_THAT(cameras->journal(), IsEmpty());
    EXPECT_THAT(reported, ElementsAre("front"));
}

TEST_F(CameraFeedTest, ASwitchToACameraThatCannotBeOpenedReverts) {
    cameras->attach({.uniqueID = "front"});
    cameras->attach({.uniqueID = "desk", .localizedName = "Desk", .inputFailure = "busy"});
    start();
    cameras->clearJournal();
    feed->setPreferredUID("desk");
    settle();
    const std::string text = "failed to create input for Desk: busy; reverting";
    EXPECT_EQ(levelOf(text), LogLevel::error);
    EXPECT_EQ(feed->currentDeviceUID(), "front");
    EXPECT_THAT(reported, ElementsAre("front", "front"));
    EXPECT_EQ(cameras->journal().back(), "commit");
    EXPECT_THAT(cameras->journal(), Contains("addInput front"));
}

TEST_F(CameraFeedTest, ARevertThatTheSessionRefusesLeavesNoInput) {
    cameras->attach({.uniqueID = "front"});
    cameras->attach({.uniqueID = "desk", .inputFailure = "busy"});
    cameras->change([](auto& script) { script.refusesReturningInput = true; });
    start();
    feed->setPreferredUID("desk");
    settle();
    EXPECT_EQ(feed->currentDeviceUID(), std::nullopt);
    EXPECT_THAT(reported, ElementsAre("front", std::nullopt));
    // Still started: another pin finds a camera.
    feed->setPreferredUID("front");
    settle();
    EXPECT_THAT(reported, ElementsAre("front", std::nullopt, "front"));
    feed->setPreferredUID("desk");
    settle();
    feed->stop();
    settle();
    EXPECT_TRUE(log.contains("CameraFeed stopped")) << "also without an input";
}

TEST_F(CameraFeedTest, ASwitchRefusedAtFirstIsRetriedOnTheHighPreset) {
    cameras->attach({.uniqueID = "front"});
    cameras->attach(
        {.uniqueID = "desk", .localizedName = "Desk", .isAccepted = [](CameraPreset preset) {
             return preset == CameraPreset::high;
         }});
    start();
    feed->setPreferredUID("desk");
    settle();
    EXPECT_TRUE(
        log.contains("first canAddInput failed for Desk; resetting to .high preset and retrying"));
    EXPECT_EQ(levelOf("CameraFeed switched to Desk on .high preset fallback"), LogLevel::info);
    EXPECT_THAT(reported, ElementsAre("front", "desk"));
}

TEST_F(CameraFeedTest, ASwitchRefusedAlsoOnTheHighPresetReverts) {
    cameras->attach({.uniqueID = "front"});
    cameras->attach({.uniqueID = "desk", .localizedName = "Desk", .isAccepted = [](CameraPreset) {
                         return false;
                     }});
    start();
    feed->setPreferredUID("desk");
    settle();
    EXPECT_EQ(
        levelOf("session rejected switch to Desk (even after .high preset fallback); reverting"),
        LogLevel::error);
    EXPECT_THAT(reported, ElementsAre("front", "front"));

    cameras->change([](auto& script) { script.refusesReturningInput = true; });
    feed->setPreferredUID("desk");
    settle();
    EXPECT_EQ(feed->currentDeviceUID(), std::nullopt);
    EXPECT_THAT(reported, ElementsAre("front", "front", std::nullopt));
}

TEST_F(CameraFeedTest, TheActiveCameraLeavesAndAnotherTakesOver) {
    cameras->attach({.uniqueID = "front", .type = Type::builtInWideAngleCamera});
    cameras->attach({.uniqueID = "desk", .localizedName = "Desk"});
    feed->setPreferredUID("desk");
    start();
    cameras->detach("desk");
    settle();
    EXPECT_EQ(levelOf("active camera Desk disconnected; falling back"), LogLevel::info);
    EXPECT_THAT(reported, ElementsAre("desk", "front"));

    // The pin was kept, so the camera comes back.
    cameras->attach({.uniqueID = "desk", .localizedName = "Desk"});
    settle();
    EXPECT_EQ(levelOf("pinned camera Desk reconnected; restoring"), LogLevel::info);
    EXPECT_THAT(reported, ElementsAre("desk", "front", "desk"));
}

TEST_F(CameraFeedTest, AnAbsentPinnedCameraIsTakenWhenItComes) {
    cameras->attach({.uniqueID = "front"});
    feed->setPreferredUID("desk");
    start();
    EXPECT_THAT(reported, ElementsAre("front"));
    cameras->attach({.uniqueID = "desk"});
    settle();
    EXPECT_THAT(reported, ElementsAre("front", "desk"));
}

TEST_F(CameraFeedTest, OtherCamerasComeAndGoWithoutEffect) {
    cameras->attach({.uniqueID = "front"});
    start();
    cameras->clearJournal();
    cameras->attach({.uniqueID = "desk"});
    cameras->detach("desk");
    settle();
    EXPECT_THAT(cameras->journal(), IsEmpty());
    EXPECT_THAT(reported, ElementsAre("front"));
}

TEST_F(CameraFeedTest, TheOnlyCameraLeavesAndThereIsNoCandidate) {
    cameras->attach({.uniqueID = "front"});
    start();
    cameras->detach("front");
    settle();
    EXPECT_EQ(levelOf("camera switch requested but no candidate device available"),
              LogLevel::error);
    EXPECT_THAT(reported, ElementsAre("front"));
}

TEST_F(CameraFeedTest, AStoppedFeedIgnoresWhatComesAndGoes) {
    cameras->attach({.uniqueID = "front"});
    feed->setPreferredUID("desk");
    start();
    feed->stop();
    settle();
    cameras->clearJournal();
    cameras->attach({.uniqueID = "desk"});
    cameras->detach("front");
    settle();
    EXPECT_THAT(cameras->journal(), IsEmpty());
    EXPECT_THAT(reported, ElementsAre("front"));
}

TEST_F(CameraFeedTest, AReleasedFeedStopsTheSessionAndHearsNoMore) {
    cameras->attach({.uniqueID = "front"});
    start();
    feed.reset();
    EXPECT_EQ(cameras->sendFrame(MediaTime::make(1, 30)), nullptr);
    cameras->detach("front");
    cameras->settle();
    feed = CameraFeed::create(cameras, executorOf(mainQueue)); // for the fixture
}

} // namespace
} // namespace lanternfly
