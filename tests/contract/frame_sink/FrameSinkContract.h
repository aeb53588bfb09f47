// What every FrameSink promises. Each test program includes this and says which sinks it holds to
// it.
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/FrameSink.h"
#include "support/ColourBars.h"
#include "support/LogCapture.h"
#include "support/StateWaiter.h"

namespace lanternfly::test {

// Makes a sink, and plays whoever takes its frames.
class FrameSinkMaker {
public:
    virtual ~FrameSinkMaker() = default;
    virtual std::unique_ptr<FrameSink> make() = 0;
    // Somebody begins to take frames of the sink made last, and ends. Files always take them.
    virtual bool isAlwaysWatched() const { return false; }
    virtual void watch() {}
    virtual void unwatch() {}
    // Where it can be done: whoever takes frames holds still until release().
    virtual bool canHold() const { return false; }
    virtual void hold() {}
    virtual void release() {}
    // Where pictures come out later than they are sent: waits for the first; false when there is
    // none after a long time.
    virtual bool waitForPicture() { return true; }
    // The newest picture that came out, while somebody watches or after finish(); null when none
    // did yet.
    virtual PixelBufferRef lastPicture() = 0;
    // The largest difference of a colour between what went in and what came out.
    virtual int tolerance() const { return 0; }
};

struct FrameSinkParameter {
    std::string name;
    // Why this machine cannot run it; empty when it can.
    std::function<std::string()> missing;
    std::function<std::unique_ptr<FrameSinkMaker>()> make;
};

inline std::string nameOfSink(const testing::TestParamInfo<FrameSinkParameter>& instance) {
    return instance.param.name;
}

class FrameSinkContract : public testing::TestWithParam<FrameSinkParameter> {
protected:
    using State = FrameSinkStatus::State;

    void SetUp() override {
        if (const std::string missing = GetParam().missing(); !missing.empty())
            GTEST_SKIP() << missing;
        maker = GetParam().make();
        sink = maker->make();
        states = std::make_unique<StateWaiter>(*sink);
    }
    void TearDown() override {
        if (sink) maker->release(); // one that has gone holds nobody
        sink = nullptr;
    }

    void watch() {
        maker->watch();
        ASSERT_TRUE(states->waitFor(State::watched));
    }
    // At thirty frames a second of their own time.
    void send(const PixelBufferRef& frame) { sink->send(frame, MediaTime::make(++index, 30)); }
    // Sends until so many got out.
    bool sendUntilSent(const PixelBufferRef& frame, uint64_t count) {
        return repeatUntilSent(count, [&] { send(frame); });
    }
    // False when so many have not got out after a long time.
    bool repeatUntilSent(uint64_t count, const std::function<void()>& step) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (sink->status().sentFrames < count && std::chrono::steady_clock::now() < end) {
            step();
            std::this_thread::yield();
        }
        return sink->status().sentFrames >= count;
    }

    LogCapture log;
    std::unique_ptr<FrameSinkMaker> maker;
    std::unique_ptr<StateWaiter> states; // outlives the sink
    std::unique_ptr<FrameSink> sink;
    int64_t index = 0;
};

TEST_P(FrameSinkContract, HasANameAndBeginsWithoutAProblem) {
    EXPECT_FALSE(sink->name().empty());
    ASSERT_TRUE(states->waitFor(maker->isAlwaysWatched() ? State::watched : State::idle));
    const FrameSinkStatus status = sink->status();
    EXPECT_EQ(status.problem, "");
    EXPECT_EQ(status.sentFrames, 0u);
    EXPECT_EQ(status.droppedFrames, 0u);
    EXPECT_EQ(sink->isWatched(), maker->isAlwaysWatched());
}

TEST_P(FrameSinkContract, BringsFramesToWhoeverWatches) {
    watch();
    EXPECT_TRUE(sink->isWatched());
    ASSERT_TRUE(sendUntilSent(colourBars(640, 360), 3));
    ASSERT_TRUE(maker->waitForPicture());
    maker->unwatch();
    sink->finish();
    const auto picture = maker->lastPicture();
    ASSERT_TRUE(picture);
    EXPECT_LE(worstBarError(*picture), maker->tolerance());
}

TEST_P(FrameSinkContract, FramesThatNobodyWantsAreNotKeptBusyWith) {
    if (maker->isAlwaysWatched()) return;
    ASSERT_TRUE(states->waitFor(State::idle));
    for (int i = 0; i < 10; ++i)
        send(colourBars(64, 36));
    EXPECT_EQ(sink->status().sentFrames, 0u);
    EXPECT_EQ(sink->status().droppedFrames, 0u);
}

TEST_P(FrameSinkContract, KnowsWhenNobodyWatchesAnyMore) {
    if (maker->isAlwaysWatched()) return;
    for (int round = 0; round < 2; ++round) {
        watch();
        maker->unwatch();
        ASSERT_TRUE(states->waitFor(State::idle)) << "round " << round;
        EXPECT_FALSE(sink->isWatched());
    }
}

TEST_P(FrameSinkContract, ASlowWatcherDelaysNobodyAndHoldsFewFrames) {
    if (!maker->canHold()) return;
    watch();
    ASSERT_TRUE(sendUntilSent(colourBars(64, 36), 1));
    maker->hold();
    std::vector<PixelBufferRef> frames;
    for (int i = 0; i < 50; ++i) {
        frames.push_back(colourBars(64, 36));
        send(frames.back());
    }
    EXPECT_GE(sink->status().droppedFrames, 1u);
    const auto held = std::count_if(frames.begin(), frames.end(),
                                    [](const auto& frame) { return frame.use_count() > 1; });
    EXPECT_LE(static_cast<size_t>(held), FrameSink::maxHeldFrames);
    maker->release();
    EXPECT_TRUE(sendUntilSent(colourBars(64, 36), sink->status().sentFrames + 1)) << "goes on";
}

TEST_P(FrameSinkContract, TakesFramesOfAnySizeAndNone) {
    watch();
    send(nullptr);
    uint64_t sent = sink->status().sentFrames;
    for (const auto& [width, height] : {std::pair{64, 36}, {1, 1}, {641, 359}, {360, 640}}) {
        SCOPED_TRACE(testing::Message() << width << "x" << height);
        ASSERT_TRUE(sendUntilSent(colourBars(width, height), sent + 2));
        sent = sink->status().sentFrames;
    }
    sink->send(PixelBuffer::create(64, 36, PixelFormat::nv12), MediaTime::make(++index, 30));
    EXPECT_TRUE(sendUntilSent(colourBars(64, 36), sent + 2)) << "goes on after one that is no BGRA";
    EXPECT_EQ(sink->status().problem, "");
}

TEST_P(FrameSinkContract, TimesMayBeAnything) {
    watch();
    const auto frame = colourBars(64, 36);
    sink->send(frame, MediaTime::invalid());
    sink->send(frame, MediaTime::make(-5, 1));
    sink->send(frame, MediaTime::make(INT64_MAX, 1));
    sink->send(frame, MediaTime::make(INT64_MIN, 1));
    index = 100;
    EXPECT_TRUE(sendUntilSent(frame, sink->status().sentFrames + 3));
    sink->finish();
    EXPECT_EQ(sink->status().problem, "");
}

TEST_P(FrameSinkContract, AFinishedSinkTakesNoMore) {
    watch();
    ASSERT_TRUE(sendUntilSent(colourBars(64, 36), 1));
    sink->finish();
    EXPECT_EQ(sink->status().state, State::finished);
    EXPECT_FALSE(sink->isWatched());
    const auto frame = colourBars(64, 36);
    const uint64_t sent = sink->status().sentFrames;
    send(frame);
    sink->finish();
    EXPECT_EQ(frame.use_count(), 1);
    EXPECT_EQ(sink->status().sentFrames, sent);
    EXPECT_EQ(sink->status().problem, "");
}

TEST_P(FrameSinkContract, MayGoAtAnyMoment) {
    maker->watch();
    send(colourBars(64, 36));
    sink = nullptr;
    sink = maker->make();
    StateWaiter again(*sink);
    maker->watch();
    EXPECT_TRUE(again.waitFor(State::watched));
    sink = nullptr;
}

TEST_P(FrameSinkContract, FramesMayComeOnSeveralThreads) {
    watch();
    const auto frame = colourBars(64, 36);
    std::atomic<bool> isOver{false};
    std::atomic<int64_t> time{0};
    std::vector<std::thread> senders;
    for (int i = 0; i < 2; ++i)
        senders.emplace_back([&] {
            while (!isOver) {
                sink->send(frame, MediaTime::make(++time, 30));
                std::this_thread::yield();
            }
        });
    EXPECT_TRUE(repeatUntilSent(10, [] {}));
    sink->finish();
    isOver = true;
    for (auto& sender : senders)
        sender.join();
}

} // namespace lanternfly::test
