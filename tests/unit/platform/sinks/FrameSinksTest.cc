#include "platform/FrameSinks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/fake/ScriptedFrameSink.h"
#include "support/LogCapture.h"

namespace lanternfly::test {
namespace {

using State = FrameSinkStatus::State;
using testing::HasSubstr;

class FrameSinksTest : public testing::Test {
protected:
    FrameSinksTest() {
        std::vector<std::unique_ptr<FrameSink>> made;
        for (const char* name : {"camera", "talk.mkv"}) {
            auto sink = std::make_unique<ScriptedFrameSink>(name);
            parts.push_back(sink.get());
            made.push_back(std::move(sink));
        }
        sinks = std::make_unique<FrameSinks>(std::move(made));
    }
    void send(int64_t index) { sinks->send(frame, MediaTime::make(index, 30)); }

    LogCapture log;
    const PixelBufferRef frame = PixelBuffer::create(64, 36);
    std::vector<ScriptedFrameSink*> parts;
    std::unique_ptr<FrameSinks> sinks;
};

TEST_F(FrameSinksTest, IsNamedAfterAll) {
    EXPECT_EQ(sinks->name(), "camera, talk.mkv");
}

TEST_F(FrameSinksTest, EachGetsEveryFrame) {
    for (auto* part : parts)
        part->setWatched(true);
    for (int64_t i = 1; i <= 5; ++i) {
        send(i);
        for (auto* part : parts)
            ASSERT_TRUE(part->waitForFrames(static_cast<size_t>(i)));
    }
    for (auto* part : parts)
        EXPECT_EQ(part->lastFrame().pts, MediaTime::make(5, 30));
    EXPECT_EQ(sinks->status().sentFrames, 10u);
}

TEST_F(FrameSinksTest, ASlowOneCostsTheOthersNothing) {
    for (auto* part : parts)
        part->setWatched(true);
    parts[0]->hold();
    for (int64_t i = 1; i <= 20; ++i) {
        send(i);
        ASSERT_TRUE(parts[1]->waitForFrames(static_cast<size_t>(i)));
    }
    EXPECT_EQ(parts[1]->status().droppedFrames, 0u);
    EXPECT_GE(parts[0]->status().droppedFrames, 18u) << "one is held, one waits";
    EXPECT_EQ(sinks->status().droppedFrames, parts[0]->status().droppedFrames);
    parts[0]->release();
    ASSERT_TRUE(parts[0]->waitForFrames(1));
}

TEST_F(FrameSinksTest, IsWatchedWhenOneOfThemIs) {
    EXPECT_FALSE(sinks->isWatched());
    EXPECT_EQ(sinks->status().state, State::idle);
    parts[1]->setWatched(true);
    EXPECT_TRUE(sinks->isWatched());
    EXPECT_EQ(sinks->status().state, State::watched);
    parts[1]->setWatched(false);
    EXPECT_FALSE(sinks->isWatched());
}

TEST_F(FrameSinksTest, OneThatFailedLeavesTheOthersAtWork) {
    parts[0]->setWatched(true);
    parts[1]->fail("talk.mkv cannot be written: make room");
    EXPECT_EQ(sinks->status().state, State::watched);
    EXPECT_EQ(sinks->status().problem, "talk.mkv cannot be written: make room");
    EXPECT_TRUE(log.contains("talk.mkv cannot be written: make room"));
    send(1);
    EXPECT_TRUE(parts[0]->waitForFrames(1));
    parts[0]->fail("gone");
    EXPECT_EQ(sinks->status().state, State::failed);
    EXPECT_FALSE(sinks->isWatched());
}

TEST_F(FrameSinksTest, TellsOfEachChange) {
    int changes = 0;
    sinks->setStateCallback([&] { ++changes; });
    parts[0]->setWatched(true);
    parts[0]->setWatched(true);
    EXPECT_EQ(changes, 1);
    parts[1]->fail("gone");
    EXPECT_EQ(changes, 2);
    parts[1]->setWatched(true);
    EXPECT_EQ(changes, 2) << "what failed stays so";
}

TEST_F(FrameSinksTest, NoSinkAtAllIsFine) {
    FrameSinks none({});
    none.send(frame, MediaTime::make(1, 30));
    EXPECT_FALSE(none.isWatched());
    EXPECT_EQ(none.status().state, State::idle);
    none.finish();
}

} // namespace
} // namespace lanternfly::test
