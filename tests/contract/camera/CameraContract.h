// What every CameraPlatform promises. Each test program includes this and says which platforms it
// holds to it.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "capture/CameraChoice.h"
#include "capture/CameraFeed.h"
#include "platform/CameraPlatform.h"
#include "support/ChangeCollector.h"
#include "support/FrameCollector.h"
#include "support/LogCapture.h"

namespace lanternfly::test {

// Makes a platform with one camera that sends frames.
class CameraMaker {
public:
    virtual ~CameraMaker() = default;
    virtual std::shared_ptr<CameraPlatform> platform() = 0;
    // Two programs cannot use it at a time.
    virtual bool isExclusive() const { return true; }
    virtual void unplug() {}
    virtual void plug() {}
};

struct CameraMakerParameter {
    std::string name;
    // Why this machine cannot run it; empty when it can.
    std::function<std::string()> missing;
    std::function<std::unique_ptr<CameraMaker>()> make;
};

class CameraContract : public testing::TestWithParam<CameraMakerParameter> {
protected:
    void SetUp() override {
        if (const std::string missing = GetParam().missing(); !missing.empty())
            GTEST_SKIP() << missing;
        maker = GetParam().make();
        cameras = maker->platform();
    }

    CameraDeviceRef onlyCamera() {
        const auto found = cameras->devices(cameraTypesByPriority);
        return found.size() == 1 ? found.front() : nullptr;
    }
    CameraOutputRef outputTo(FrameCollector& frames) {
        auto output = std::make_shared<CameraOutput>();
        output->queue = queue;
        output->handler = [&](const CameraSample& sample) {
            if (sample.buffer) frames.add(sample.buffer, sample.pts);
        };
        return output;
    }
    // A session of the only camera, ready to run.
    std::unique_ptr<CameraSession> sessionTo(const CameraOutputRef& output) {
        auto session = cameras->makeSession();
        session->beginConfiguration();
        const auto input = cameras->makeInput(onlyCamera());
        EXPECT_TRUE(session->canAddInput(input));
        session->addInput(input);
        EXPECT_TRUE(session->canAddOutput(output));
        session->addOutput(output);
        session->commitConfiguration();
        return session;
    }

    LogCapture quiet;
    const std::shared_ptr<SerialQueue> queue = std::make_shared<SerialQueue>("test.delivery");
    std::unique_ptr<CameraMaker> maker;
    std::shared_ptr<CameraPlatform> cameras;
};

TEST_P(CameraContract, ListsACameraWithWhatAUserNeedsToKnow) {
    const auto camera = onlyCamera();
    ASSERT_TRUE(camera);
    EXPECT_FALSE(camera->uniqueID().empty());
    EXPECT_FALSE(camera->localizedName().empty());
    EXPECT_FALSE(camera->className().empty());
    ASSERT_FALSE(camera->formats().empty());
    for (const CameraFormat& format : camera->formats()) {
        EXPECT_GT(format.width, 0);
        EXPECT_GT(format.height, 0);
        for (const CameraRateRange& range : format.rateRanges) {
            EXPECT_GT(range.minimum, 0);
            EXPECT_LE(range.minimum, range.maximum);
        }
    }
    EXPECT_TRUE(camera->supportsPreset(CameraPreset::high));
    EXPECT_EQ(cameras->authorization(), CameraAuthorization::authorized);
}

TEST_P(CameraContract, ListsOnlyTheTypesAskedFor) {
    const CameraDeviceType type = onlyCamera()->type();
    for (const CameraDeviceType other : cameraTypesByPriority)
        EXPECT_EQ(cameras->devices(std::span(&other, 1)).size(), other == type ? 1u : 0u);
    EXPECT_TRUE(cameras->devices({}).empty());
}

TEST_P(CameraContract, GivesACameraTheSameIdentifierEachTime) {
    EXPECT_EQ(onlyCamera()->uniqueID(), onlyCamera()->uniqueID());
}

TEST_P(CameraContract, AnswersARequestForAccess) {
    std::mutex mutex;
    std::condition_variable answered;
    std::optional<bool> answer;
    cameras->requestAccess([&](bool isGranted) {
        const std::lock_guard guard(mutex);
        answer = isGranted;
        answered.notify_all();
    });
    std::unique_lock lock(mutex);
    ASSERT_TRUE(
        answered.wait_for(lock, std::chrono::seconds(60), [&] { return answer.has_value(); }));
    EXPECT_TRUE(*answer);
}

TEST_P(CameraContract, DeliversFramesOfTheActiveFormatOnTheOutputsQueue) {
    FrameCollector frames;
    const auto session = sessionTo(outputTo(frames));
    const CameraFormat format = onlyCamera()->formats().front();
    session->startRunning();
    ASSERT_TRUE(frames.waitFor(5));
    session->stopRunning();
    queue->sync([] {});
    for (const auto& frame : frames.frames()) {
        EXPECT_EQ(frame.buffer->width(), format.width);
        EXPECT_EQ(frame.buffer->height(), format.height);
        EXPECT_EQ(frame.buffer->format(), PixelFormat::bgra8);
        EXPECT_EQ(frame.thread, "test.delivery");
    }
    const auto times = frames.times();
    for (size_t i = 1; i < times.size(); ++i)
        EXPECT_LT(times[i - 1].seconds(), times[i].seconds());
}

TEST_P(CameraContract, SendsNothingBeforeTheStartAndAfterTheStop) {
    FrameCollector frames;
    const auto session = sessionTo(outputTo(frames));
    queue->sync([] {});
    EXPECT_EQ(frames.count(), 0u);
    session->startRunning();
    ASSERT_TRUE(frames.waitFor(1));
    session->stopRunning();
    queue->sync([] {});
    const size_t before = frames.count();
    queue->sync([] {});
    EXPECT_EQ(frames.count(), before);

    session->startRunning();
    EXPECT_TRUE(frames.waitFor(before + 2)) << "it starts again";
}

TEST_P(CameraContract, TakesOneInputAndOneOutput) {
    FrameCollector frames;
    const auto output = outputTo(frames);
    const auto session = cameras->makeSession();
    const auto input = cameras->makeInput(onlyCamera());
    session->beginConfiguration();
    ASSERT_TRUE(session->canAddInput(input));
    session->addInput(input);
    EXPECT_FALSE(session->canAddInput(input));
    ASSERT_TRUE(session->canAddOutput(output));
    session->addOutput(output);
    EXPECT_FALSE(session->canAddOutput(outputTo(frames)));
    session->commitConfiguration();
    session->startRunning();
    ASSERT_TRUE(frames.waitFor(1));
    // Out and in again while it runs.
    session->beginConfiguration();
    session->removeInput(input);
    ASSERT_TRUE(session->canAddInput(input));
    session->addInput(input);
    session->commitConfiguration();
    const size_t before = frames.count();
    EXPECT_TRUE(frames.waitFor(before + 2));
    session->stopRunning();
    session->removeOutput(output);
    EXPECT_TRUE(session->canAddOutput(output));
}

TEST_P(CameraContract, APresetChoosesAFormat) {
    const auto session = cameras->makeSession();
    session->beginConfiguration();
    EXPECT_EQ(session->preset(), CameraPreset::inputPriority);
    ASSERT_TRUE(session->canSetPreset(CameraPreset::high));
    session->setPreset(CameraPreset::high);
    EXPECT_EQ(session->preset(), CameraPreset::high);
    EXPECT_TRUE(session->canAddInput(cameras->makeInput(onlyCamera())));
    session->commitConfiguration();
}

TEST_P(CameraContract, ACameraIsLockedToBeConfigured) {
    const auto camera = onlyCamera();
    {
        const auto lock = camera->lockForConfiguration();
        ASSERT_TRUE(lock);
        lock->setActiveFormat(camera->formats().size() - 1);
        lock->setFrameDurations(MediaTime::make(1, 30), MediaTime::make(1, 30));
    }
    EXPECT_TRUE(camera->lockForConfiguration()) << "the lock is given back";
}

TEST_P(CameraContract, ACameraInUseIsBusyUntilItIsLetGo) {
    if (!maker->isExclusive()) return;
    auto input = cameras->makeInput(onlyCamera());
    try {
        cameras->makeInput(onlyCamera());
        ADD_FAILURE() << "opened twice";
    } catch (const CameraError& error) {
        EXPECT_EQ(error.kind, CameraError::Kind::busy) << error.what();
        EXPECT_THAT(error.what(), testing::HasSubstr(onlyCamera()->localizedName()));
    }
    input = nullptr;
    EXPECT_TRUE(cameras->makeInput(onlyCamera()));
}

TEST_P(CameraContract, ASessionMayGoWhileItRuns) {
    FrameCollector frames;
    for (int i = 0; i < 5; ++i) {
        const auto session = sessionTo(outputTo(frames));
        session->startRunning();
        if (i % 2) frames.waitFor(frames.count() + 1);
    }
    const auto session = sessionTo(outputTo(frames));
    session->startRunning();
    EXPECT_TRUE(frames.waitFor(frames.count() + 1));
}

TEST_P(CameraContract, ASessionMayGoInItsOwnHandler) {
    std::mutex mutex;
    std::condition_variable gone;
    bool isGone = false;
    std::unique_ptr<CameraSession> session;
    auto output = std::make_shared<CameraOutput>();
    output->queue = queue;
    output->handler = [&](const CameraSample&) {
        const std::lock_guard guard(mutex);
        session = nullptr;
        isGone = true;
        gone.notify_all();
    };
    std::unique_lock lock(mutex);
    session = sessionTo(output);
    session->startRunning();
    EXPECT_TRUE(gone.wait_for(lock, std::chrono::seconds(60), [&] { return isGone; }));
}

TEST_P(CameraContract, TheFeedDeliversItsFrames) {
    const auto mainQueue = std::make_shared<SerialQueue>("test.main");
    const auto feed = CameraFeed::create(cameras, executorOf(mainQueue));
    FrameCollector frames;
    feed->setFrameCallback(
        [&](const PixelBufferRef& buffer, MediaTime pts) { frames.add(buffer, pts); });
    feed->start();
    EXPECT_TRUE(frames.waitFor(3));
    EXPECT_EQ(feed->currentDeviceUID(), onlyCamera()->uniqueID());
    feed->stop();
    feed->currentDeviceUID();
    feed->setFrameCallback({});
    feed->start();
    feed->stop();
    feed->currentDeviceUID();
}

class PluggedCameraContract : public CameraContract {};

TEST_P(PluggedCameraContract, TellsOfAnUnpluggedCameraAndOfItsReturn) {
    const auto camera = onlyCamera();
    ChangeCollector changes;
    auto observation = cameras->observe([&](const CameraChange& change) { changes.add(change); });
    maker->unplug();
    ASSERT_TRUE(changes.waitFor(1));
    EXPECT_EQ(changes.changes()[0].kind, CameraChange::Kind::disconnected);
    EXPECT_EQ(changes.changes()[0].uniqueID, camera->uniqueID());
    EXPECT_EQ(changes.changes()[0].localizedName, camera->localizedName());
    EXPECT_FALSE(onlyCamera());
    EXPECT_THROW(cameras->makeInput(camera), CameraError);

    maker->plug();
    ASSERT_TRUE(changes.waitFor(2));
    EXPECT_EQ(changes.changes()[1].kind, CameraChange::Kind::connected);
    EXPECT_EQ(changes.changes()[1].uniqueID, camera->uniqueID());
    ASSERT_TRUE(onlyCamera());
    EXPECT_EQ(onlyCamera()->uniqueID(), camera->uniqueID());
}

TEST_P(PluggedCameraContract, AnEndedObservationHearsNothing) {
    ChangeCollector ended, changes;
    auto observation = cameras->observe([&](const CameraChange& change) { ended.add(change); });
    const auto other = cameras->observe([&](const CameraChange& change) { changes.add(change); });
    onlyCamera();
    observation.reset();
    maker->unplug();
    ASSERT_TRUE(changes.waitFor(1));
    EXPECT_TRUE(ended.changes().empty());
}

TEST_P(PluggedCameraContract, IsToldOnceThoughTheCameraRan) {
    FrameCollector frames;
    const auto session = sessionTo(outputTo(frames));
    session->startRunning();
    ASSERT_TRUE(frames.waitFor(1));
    ChangeCollector changes;
    const auto observation =
        cameras->observe([&](const CameraChange& change) { changes.add(change); });
    maker->unplug();
    maker->plug();
    ASSERT_TRUE(changes.waitFor(2));
    EXPECT_EQ(changes.changes()[0].kind, CameraChange::Kind::disconnected);
    EXPECT_EQ(changes.changes()[1].kind, CameraChange::Kind::connected);
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(PluggedCameraContract);

inline std::string nameOfMaker(const testing::TestParamInfo<CameraMakerParameter>& instance) {
    return instance.param.name;
}

} // namespace lanternfly::test
