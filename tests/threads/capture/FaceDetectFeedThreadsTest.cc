// Run under ThreadSanitizer: the feed from every side at once.
#include "capture/FaceDetectFeed.h"

#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "support/LogCapture.h"

namespace lanternfly {
namespace {

constexpr FaceRect face{0.25, 0.25, 0.5, 0.5};

class OneFace final : public FaceDetector {
    void detect(const PixelBuffer&, std::vector<FaceRect>& faces) override {
        faces.assign(1, face);
    }
};

std::unique_ptr<FaceDetector> makeOneFace() {
    return std::make_unique<OneFace>();
}

TEST(FaceDetectFeedThreadsTest, FramesAndReadersMeetStartsAndStops) {
    const test::LogCapture quiet;
    const auto feed = FaceDetectFeed::create(makeOneFace, 2);
    const auto camera = PixelBuffer::create(64, 36);
    std::atomic<bool> isOver{false};
    std::thread cameraThread([&] {
        for (int i = 0; i < 3000; ++i)
            feed->process(camera, MediaTime::make(i, 30));
        isOver = true;
    });
    std::thread compositor([&] {
        while (!isOver)
            EXPECT_EQ(feed->latestFace().value_or(face), face);
    });
    int round = 0;
    do {
        feed->start();
        if (++round % 2) feed->stop();
    } while (!isOver);
    cameraThread.join();
    compositor.join();

    feed->stop();
    feed->waitUntilIdle();
    feed->start();
    feed->process(camera, MediaTime::make(0, 30));
    feed->process(camera, MediaTime::make(1, 30));
    feed->waitUntilIdle();
    EXPECT_EQ(feed->latestFace(), face);
}

TEST(FaceDetectFeedThreadsTest, FeedsAreReleasedInTheMiddleOfTheirWork) {
    const test::LogCapture quiet;
    const auto camera = PixelBuffer::create(64, 36);
    for (int i = 0; i < 100; ++i) {
        auto feed = FaceDetectFeed::create(makeOneFace, 1);
        feed->start();
        for (int j = 0; j < i % 5; ++j)
            feed->process(camera, MediaTime::make(j, 30));
        std::thread other([feed] { feed->stop(); });
        feed.reset();
        other.join();
    }
}

} // namespace
} // namespace lanternfly
