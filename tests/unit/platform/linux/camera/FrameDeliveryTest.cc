#include "platform/FrameDelivery.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/FrameCollector.h"

namespace lanternfly {
namespace {

using testing::ElementsAre;

class FrameDeliveryTest : public testing::Test {
protected:
    FrameDeliveryTest() {
        output->queue = queue;
        output->handler = [this](const CameraSample& sample) {
            frames.add(sample.buffer, sample.pts);
        };
    }
    static CameraSample sample(int64_t index) { return {nullptr, MediaTime::make(index, 30)}; }

    test::FrameCollector frames;
    const std::shared_ptr<SerialQueue> queue = std::make_shared<SerialQueue>("test.delivery");
    CameraOutputRef output = std::make_shared<CameraOutput>();
};

TEST_F(FrameDeliveryTest, OnlyTheNewestFrameWaits) {
    FrameDelivery delivery(output);
    frames.hold();
    delivery.put(sample(1));
    ASSERT_TRUE(frames.waitFor(1));
    for (int64_t i = 2; i <= 9; ++i)
        delivery.put(sample(i));
    frames.release();
    queue->sync([] {});
    EXPECT_THAT(frames.times(), ElementsAre(MediaTime::make(1, 30), MediaTime::make(9, 30)));
}

TEST_F(FrameDeliveryTest, AllFramesWaitWhereLateOnesAreKept) {
    output->discardsLateFrames = false;
    FrameDelivery delivery(output);
    frames.hold();
    for (int64_t i = 1; i <= 3; ++i)
        delivery.put(sample(i));
    frames.release();
    queue->sync([] {});
    EXPECT_THAT(frames.times(), ElementsAre(MediaTime::make(1, 30), MediaTime::make(2, 30),
                                            MediaTime::make(3, 30)));
}

TEST_F(FrameDeliveryTest, FramesThatWaitAreDroppedAtTheEnd) {
    for (const bool discards : {true, false}) {
        output->discardsLateFrames = discards;
        auto delivery = std::make_unique<FrameDelivery>(output);
        frames.hold();
        const size_t before = frames.count();
        delivery->put(sample(1));
        ASSERT_TRUE(frames.waitFor(before + 1));
        delivery->put(sample(2));
        delivery = nullptr;
        frames.release();
        queue->sync([] {});
        EXPECT_EQ(frames.count(), before + 1);
    }
}

TEST_F(FrameDeliveryTest, AWaitingFrameLetsItsBufferGo) {
    FrameDelivery delivery(output);
    frames.hold();
    delivery.put(sample(1));
    ASSERT_TRUE(frames.waitFor(1));
    auto buffer = PixelBuffer::create(4, 4);
    delivery.put({buffer, MediaTime::make(2, 30)});
    EXPECT_EQ(buffer.use_count(), 2);
    delivery.put(sample(3));
    EXPECT_EQ(buffer.use_count(), 1);
    frames.release();
    queue->sync([] {});
}

} // namespace
} // namespace lanternfly
