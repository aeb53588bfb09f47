// Run under ThreadSanitizer: frames, pins, plugs and the end of the feed, all at once.
#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "capture/CameraFeed.h"
#include "platform/fake/ScriptedCameras.h"
#include "support/LogCapture.h"

namespace lanternfly {
namespace {

TEST(CameraFeedThreadsTest, FramesMeetPinsPlugsAndStops) {
    const test::LogCapture quiet;
    const auto cameras = std::make_shared<ScriptedCameras>();
    const auto mainQueue = std::make_shared<SerialQueue>("test.main");
    cameras->attach({.uniqueID = "front"});
    const auto feed = CameraFeed::create(cameras, executorOf(mainQueue));
    std::atomic<int> frames{0}, reports{0};
    feed->setOnDeviceChanged([&](const std::optional<std::string>&) { ++reports; });
    feed->start();
    std::atomic<bool> isOver{false};
    std::thread camera([&] {
        for (int i = 0; !isOver; ++i)
            cameras->sendFrame(MediaTime::make(i, 30));
    });
    for (int round = 0; round < 200; ++round) {
        feed->setFrameCallback([&](const PixelBufferRef&, MediaTime) { ++frames; });
        cameras->attach({.uniqueID = "desk"});
        feed->setPreferredUID(round % 2 ? "desk" : "front");
        if (round % 5 == 0) feed->stop();
        feed->start();
        feed->currentDeviceUID();
        cameras->detach("desk");
    }
    feed->setPreferredUID("front");
    feed->start();
    while (frames == 0)
        std::this_thread::yield();
    isOver = true;
    camera.join();
    feed->currentDeviceUID();
    mainQueue->sync([] {});
    EXPECT_GT(reports, 0);
    feed->setOnDeviceChanged({});
}

TEST(CameraFeedThreadsTest, FeedsAreReleasedInTheMiddleOfTheirWork) {
    const test::LogCapture quiet;
    const auto cameras = std::make_shared<ScriptedCameras>();
    const auto mainQueue = std::make_shared<SerialQueue>("test.main");
    cameras->attach({.uniqueID = "front"});
    for (int i = 0; i < 100; ++i) {
        auto feed = CameraFeed::create(cameras, executorOf(mainQueue));
        feed->setFrameCallback([](const PixelBufferRef&, MediaTime) {});
        feed->start();
        if (i % 3 == 0) feed->currentDeviceUID();
        if (i % 7 == 0) cameras->attach({.uniqueID = "desk" + std::to_string(i)});
        std::thread other([feed] { feed->stop(); });
        feed.reset();
        cameras->sendFrame(MediaTime::make(i, 30));
        other.join();
    }
}

} // namespace
} // namespace lanternfly
