#include "platform/FrameWorker.h"

#include <future>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/AllocationCount.h"

namespace lanternfly::test {
namespace {

using testing::ElementsAre;

class FrameWorkerTest : public testing::Test {
protected:
    // Takes the first frame and waits there until the gate opens.
    FrameWorker::Handler gated() {
        return [this](const PixelBufferRef&, MediaTime pts) {
            taken.push_back(pts.value);
            if (taken.size() == 1) {
                entered.set_value();
                gate.get_future().wait();
            }
        };
    }

    const PixelBufferRef frame = PixelBuffer::create(16, 16);
    std::vector<int64_t> taken;
    std::promise<void> entered, gate;
};

TEST_F(FrameWorkerTest, DropsTheOldestOfThoseThatWait) {
    FrameWorker worker("test", 2, gated());
    EXPECT_TRUE(worker.put(frame, MediaTime::make(1, 30)));
    entered.get_future().wait();
    EXPECT_TRUE(worker.put(frame, MediaTime::make(2, 30)));
    EXPECT_TRUE(worker.put(frame, MediaTime::make(3, 30)));
    EXPECT_FALSE(worker.put(frame, MediaTime::make(4, 30)));
    gate.set_value();
    worker.finish();
    EXPECT_THAT(taken, ElementsAre(1, 3, 4));
    EXPECT_EQ(frame.use_count(), 1);
    EXPECT_FALSE(worker.put(frame, MediaTime::make(5, 30))) << "it has finished";
}

TEST_F(FrameWorkerTest, WhatWaitsIsLeftWhenItGoes) {
    {
        auto worker = std::make_unique<FrameWorker>("test", 3, gated());
        worker->put(frame, MediaTime::make(1, 30));
        entered.get_future().wait();
        worker->put(frame, MediaTime::make(2, 30));
        // The frame that waits is let go at once, the thread when its handler is done.
        std::thread goes([&] { worker = nullptr; });
        while (frame.use_count() > 2)
            std::this_thread::yield();
        gate.set_value();
        goes.join();
    }
    EXPECT_THAT(taken, ElementsAre(1));
    EXPECT_EQ(frame.use_count(), 1);
}

TEST_F(FrameWorkerTest, AllocatesNothingForAFrame) {
    std::atomic<int> count{0};
    FrameWorker worker("test", 2, [&](const PixelBufferRef&, MediaTime) { ++count; });
    const auto pass = [&](int64_t from) {
        for (int64_t i = from; i < from + 100; ++i)
            worker.put(frame, MediaTime::make(i, 30));
    };
    pass(0);
    const size_t before = allocationCount;
    pass(100);
    EXPECT_EQ(allocationCount, before);
    worker.finish();
    EXPECT_GE(count, 2);
}

} // namespace
} // namespace lanternfly::test
