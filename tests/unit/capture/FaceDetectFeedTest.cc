#include "capture/FaceDetectFeed.h"

#include <future>
#include <vector>

#include <pthread.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/fake/ScriptedFaceDetector.h"
#include "support/LogCapture.h"

namespace lanternfly {
namespace {

using test::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::SizeIs;
using Picture = FaceScript::Picture;

constexpr FaceRect small{0.1, 0.2, 0.1, 0.2};
constexpr FaceRect wide{0.3, 0.4, 0.5, 0.1};  // 0.05
constexpr FaceRect large{0.5, 0.5, 0.3, 0.3}; // 0.09

std::string threadName() {
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof name);
    return name;
}

class FaceDetectFeedTest : public testing::Test {
protected:
    std::shared_ptr<FaceDetectFeed> makeFeed(int64_t stride = FaceDetectFeed::defaultFrameStride) {
        return FaceDetectFeed::create(
            [this] {
                ++detectorsMade;
                madeOnThread = threadName();
                return std::make_unique<ScriptedFaceDetector>(script);
            },
            stride);
    }
    void frames(int count) {
        for (int i = 0; i < count; ++i)
            feed->process(camera, MediaTime::make(i, 30));
    }
    void framesToTheEnd(int count) {
        frames(count);
        feed->waitUntilIdle();
    }
    size_t looks() const { return script->pictures().size(); }

    LogCapture log;
    std::shared_ptr<FaceScript> script = std::make_shared<FaceScript>();
    int detectorsMade = 0;
    std::string madeOnThread;
    PixelBufferRef camera = PixelBuffer::create(640, 360);
    std::shared_ptr<FaceDetectFeed> feed = makeFeed();
};

TEST_F(FaceDetectFeedTest, NothingRunsBeforeTheStart) {
    framesToTheEnd(12);
    EXPECT_EQ(detectorsMade, 0);
    EXPECT_EQ(feed->latestFace(), std::nullopt);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(FaceDetectFeedTest, TheFirstFiveFramesAfterTheStartAreNotLookedAtAndTheSixthIs) {
    script->add({.faces = {small}});
    feed->start();
    framesToTheEnd(5);
    EXPECT_EQ(looks(), 0u);
    EXPECT_EQ(feed->latestFace(), std::nullopt);
    framesToTheEnd(1);
    EXPECT_EQ(looks(), 1u);
    EXPECT_THAT(feed->latestFace(), Optional(small));
}

TEST_F(FaceDetectFeedTest, EverySixthFrameIsLookedAt) {
    feed->start();
    for (int i = 1; i <= 30; ++i) {
        framesToTheEnd(1);
        EXPECT_EQ(looks(), static_cast<size_t>(i / 6)) << "frame " << i;
    }
}

TEST_F(FaceDetectFeedTest, TheStrideMayBeAnotherOneAndZeroMeansNever) {
    feed = makeFeed(2);
    feed->start();
    for (int i = 0; i < 6; ++i)
        framesToTheEnd(1);
    EXPECT_EQ(looks(), 3u);
    EXPECT_TRUE(log.contains("FaceDetectFeed started (stride=2)"));
    feed = makeFeed(0);
    feed->start();
    framesToTheEnd(60);
    EXPECT_EQ(looks(), 3u);
}

TEST_F(FaceDetectFeedTest, TheDetectorIsMadeOnceOnTheVisionQueueForTheFirstLook) {
    feed->start();
    framesToTheEnd(5);
    EXPECT_EQ(detectorsMade, 0);
    framesToTheEnd(1);
    framesToTheEnd(6);
    EXPECT_EQ(detectorsMade, 1);
    EXPECT_EQ(madeOnThread, "tectFeed.vision");
}

TEST_F(FaceDetectFeedTest, TheDetectorSeesTheCameraPictureItself) {
    camera = PixelBuffer::create(1920, 1080);
    feed->start();
    framesToTheEnd(6);
    EXPECT_THAT(script->pictures(), ElementsAre(Picture{1920, 1080, PixelFormat::bgra8}));
}

// --- Which face ------------------------------------------------------------------------------

TEST_F(FaceDetectFeedTest, OfTwoFacesTheLargerByAreaIsPublished) {
    script->add({.faces = {small, large, wide}});
    script->add({.faces = {wide, small}});
    feed->start();
    framesToTheEnd(6);
    EXPECT_THAT(feed->latestFace(), Optional(large));
    framesToTheEnd(6);
    EXPECT_THAT(feed->latestFace(), Optional(wide)) << "0.05 beats 0.02 though it is lower";
}

TEST_F(FaceDetectFeedTest, OfEquallyLargeFacesTheFirstIsPublished) {
    const FaceRect other{0.6, 0.2, 0.1, 0.2};
    script->add({.faces = {other, small}});
    feed->start();
    framesToTheEnd(6);
    EXPECT_THAT(feed->latestFace(), Optional(other));
}

TEST_F(FaceDetectFeedTest, AFrameWithoutAFaceReplacesThePublishedFaceByNone) {
    script->add({.faces = {small}});
    script->add({});
    feed->start();
    framesToTheEnd(6);
    EXPECT_THAT(feed->latestFace(), Optional(small));
    framesToTheEnd(5);
    EXPECT_THAT(feed->latestFace(), Optional(small)) << "kept between looks";
    framesToTheEnd(1);
    EXPECT_EQ(feed->latestFace(), std::nullopt);
}

// --- One at a time ---------------------------------------------------------------------------

TEST_F(FaceDetectFeedTest, AFrameWhoseTurnMeetsARunningDetectionIsSkippedNotQueued) {
    script->add({.faces = {small}});
    script->add({.faces = {large}});
    feed->start();
    script->hold();
    frames(6);
    script->waitUntilHeld();
    frames(11); // 12 is skipped; the counter goes on
    script->release();
    feed->waitUntilIdle();
    EXPECT_EQ(looks(), 1u);
    EXPECT_THAT(feed->latestFace(), Optional(small));
    framesToTheEnd(1); // 18
    EXPECT_EQ(looks(), 2u);
    EXPECT_THAT(feed->latestFace(), Optional(large));
}

TEST_F(FaceDetectFeedTest, AFrameWithoutAPictureIsIgnored) {
    feed->start();
    for (int i = 0; i < 12; ++i)
        feed->process(nullptr, MediaTime::make(i, 30));
    framesToTheEnd(5);
    EXPECT_EQ(looks(), 0u);
}

// --- Start and stop --------------------------------------------------------------------------

TEST_F(FaceDetectFeedTest, StartAndStopAreLoggedOnceEach) {
    feed->stop(); // not started yet
    feed->start();
    feed->start();
    feed->stop();
    feed->stop();
    feed->waitUntilIdle();
    ASSERT_THAT(log.lines(), SizeIs(2));
    EXPECT_EQ(log.lines()[0].message, "FaceDetectFeed started (stride=6)");
    EXPECT_EQ(log.lines()[0].category, "FaceDetectFeed");
    EXPECT_EQ(log.lines()[1].message, "FaceDetectFeed stopped");
}

TEST_F(FaceDetectFeedTest, TheFaceIsGoneAsSoonAsStopReturns) {
    script->add({.faces = {small}});
    feed->start();
    framesToTheEnd(6);
    ASSERT_NE(feed->latestFace(), std::nullopt);
    feed->stop();
    EXPECT_EQ(feed->latestFace(), std::nullopt);
    framesToTheEnd(12);
    EXPECT_EQ(looks(), 1u);
}

TEST_F(FaceDetectFeedTest, ADetectionThatRunsAtTheStopMayPublishOnceMore) {
    script->add({.faces = {small}});
    feed->start();
    script->hold();
    frames(6);
    script->waitUntilHeld();
    feed->stop();
    EXPECT_EQ(feed->latestFace(), std::nullopt);
    script->release();
    feed->waitUntilIdle();
    EXPECT_THAT(feed->latestFace(), Optional(small));
}

TEST_F(FaceDetectFeedTest, ARestartCountsFramesAnew) {
    feed->start();
    framesToTheEnd(5);
    feed->stop();
    framesToTheEnd(3);
    feed->start();
    framesToTheEnd(5);
    EXPECT_EQ(looks(), 0u);
    framesToTheEnd(1);
    EXPECT_EQ(looks(), 1u);
}

TEST_F(FaceDetectFeedTest, ASecondStartDoesNotCountAnew) {
    feed->start();
    framesToTheEnd(5);
    feed->start();
    framesToTheEnd(1);
    EXPECT_EQ(looks(), 1u);
}

TEST_F(FaceDetectFeedTest, ARestartDuringADetectionStillRunsOneAtATime) {
    feed->start();
    script->hold();
    frames(6);
    script->waitUntilHeld();
    feed->stop();
    feed->start();
    frames(6);
    script->release();
    feed->waitUntilIdle();
    EXPECT_EQ(looks(), 1u);
    framesToTheEnd(6);
    EXPECT_EQ(looks(), 2u);
}

// --- Failures --------------------------------------------------------------------------------

TEST_F(FaceDetectFeedTest, AFailedDetectionIsLoggedAndPublishesNoFace) {
    script->add({.faces = {small}});
    script->add({.faces = {small}, .failure = "the network is out of breath"});
    script->add({.faces = {large}});
    feed->start();
    framesToTheEnd(6);
    framesToTheEnd(6);
    EXPECT_EQ(feed->latestFace(), std::nullopt);
    EXPECT_TRUE(log.contains("Vision face request failed: the network is out of breath"));
    framesToTheEnd(6);
    EXPECT_THAT(feed->latestFace(), Optional(large));
}

TEST_F(FaceDetectFeedTest, APictureThatTheDetectorRefusesPublishesNoFace) {
    camera = PixelBuffer::create(640, 360, PixelFormat::nv12);
    feed->start();
    framesToTheEnd(6);
    EXPECT_EQ(feed->latestFace(), std::nullopt);
    EXPECT_TRUE(
        log.contains("Vision face request failed: Faces are looked for in BGRA pictures only."));
}

TEST_F(FaceDetectFeedTest, WhateverADetectorThrowsStaysOnItsQueue) {
    script->add({.whileDetecting = [] { throw 42; }});
    feed->start();
    framesToTheEnd(6);
    EXPECT_TRUE(log.contains("Vision face request failed: unknown exception"));
}

TEST_F(FaceDetectFeedTest, WithoutADetectorTheNextLookTriesAgain) {
    int attempts = 0;
    script->add({.faces = {small}});
    feed = FaceDetectFeed::create([&]() -> std::unique_ptr<FaceDetector> {
        switch (++attempts) {
        case 1:
            throw std::runtime_error("no model");
        case 2:
            return nullptr;
        }
        return std::make_unique<ScriptedFaceDetector>(script);
    });
    feed->start();
    framesToTheEnd(6);
    EXPECT_TRUE(log.contains("Vision face request failed: no model"));
    framesToTheEnd(6);
    EXPECT_TRUE(log.contains("Vision face request failed: no face detector"));
    framesToTheEnd(6);
    EXPECT_THAT(feed->latestFace(), Optional(small));
}

TEST_F(FaceDetectFeedTest, AFeedReleasedDuringADetectionEndsWithIt) {
    struct AnnouncedEnd final : FaceDetector {
        AnnouncedEnd(std::shared_ptr<FaceScript> ofScript, std::promise<void> toKeep)
            : inner(std::move(ofScript)), ended(std::move(toKeep)) {}
        ~AnnouncedEnd() override { ended.set_value(); }
        void detect(const PixelBuffer& picture, std::vector<FaceRect>& faces) override {
            inner.detect(picture, faces);
        }
        ScriptedFaceDetector inner;
        std::promise<void> ended;
    };
    std::promise<void> promise;
    const auto ended = promise.get_future();
    feed = FaceDetectFeed::create(
        [&] { return std::make_unique<AnnouncedEnd>(script, std::move(promise)); });
    const std::weak_ptr<FaceDetectFeed> watched = feed;
    feed->start();
    script->hold();
    frames(6);
    script->waitUntilHeld();
    feed.reset();
    EXPECT_FALSE(watched.expired()) << "the detection keeps it";
    script->release();
    ended.wait();
    EXPECT_TRUE(watched.expired());
}

} // namespace
} // namespace lanternfly
