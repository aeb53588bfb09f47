#include "app/EventLoop.h"

#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>

#include "support/LoopRunner.h"

namespace lanternfly {
namespace {

using namespace std::chrono_literals;
using test::runUntil;
using testing::ElementsAre;

struct EventLoopTest : testing::Test {
    EventLoop loop;
    UniqueFd event{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    void signal() const { eventfd_write(event.get(), 1); }
    void calm() const {
        eventfd_t ignored;
        eventfd_read(event.get(), &ignored);
    }
};

TEST_F(EventLoopTest, RunsWhatOtherThreadsPostInTheirOrderUntilItQuits) {
    std::vector<int> ran;
    std::jthread poster([&] {
        for (int i = 1; i <= 3; ++i)
            loop.post([&, i] { ran.push_back(i); });
        loop.post([&] { loop.quit(); });
    });
    loop.run();
    EXPECT_THAT(ran, ElementsAre(1, 2, 3));
    EXPECT_TRUE(loop.isQuitting());
}

TEST_F(EventLoopTest, AQuitThatComesFirstHolds) {
    loop.quit();
    loop.run();
    EXPECT_TRUE(loop.isQuitting());
}

TEST_F(EventLoopTest, ATaskMayPostAnother) {
    bool ran = false;
    loop.post([&] { loop.post([&] { ran = true; }); });
    EXPECT_TRUE(runUntil(loop, [&] { return ran; }));
}

TEST_F(EventLoopTest, ADescriptorIsWatchedAsLongAsItsRegistrationLives) {
    int readable = 0;
    auto watching = loop.watch(event.get(), [&] {
        ++readable;
        calm();
    });
    signal();
    EXPECT_TRUE(runUntil(loop, [&] { return readable == 1; }));
    watching.reset();
    signal();
    loop.dispatch();
    EXPECT_EQ(readable, 1);
}

TEST_F(EventLoopTest, AWatchMayEndItselfAndAnother) {
    const UniqueFd other(eventfd(1, EFD_CLOEXEC | EFD_NONBLOCK));
    int calls = 0;
    EventLoop::Registration first, second;
    const auto endBoth = [&] {
        ++calls;
        first.reset();
        second.reset();
    };
    first = loop.watch(event.get(), endBoth);
    second = loop.watch(other.get(), endBoth);
    signal();
    loop.dispatch();
    EXPECT_EQ(calls, 1);
    loop.dispatch();
    EXPECT_EQ(calls, 1);
}

TEST_F(EventLoopTest, ATimerCallsAgainAndAgainOneWithADelayOnce) {
    int often = 0, once = 0;
    const auto every = loop.every(1ms, [&] { ++often; });
    const auto after = loop.after(1ms, [&] { ++once; });
    EXPECT_TRUE(runUntil(loop, [&] { return often >= 3 && once > 0; }));
    EXPECT_EQ(once, 1);
}

TEST_F(EventLoopTest, ATimerMayEndItselfAndBeginAnother) {
    int calls = 0;
    EventLoop::Registration timer;
    std::function<void()> again = [&] {
        if (++calls < 3) timer = loop.after(0ms, again);
    };
    timer = loop.after(0ms, again);
    EXPECT_TRUE(runUntil(loop, [&] { return calls == 3; }));
}

TEST_F(EventLoopTest, ARegistrationMayOutliveItsLoop) {
    auto mortal = std::make_unique<EventLoop>();
    const auto watching = mortal->watch(event.get(), [] {});
    const auto timer = mortal->every(1h, [] {});
    mortal.reset();
    SUCCEED(); // both end without a loop
}

} // namespace
} // namespace lanternfly
