#include <thread>

#include <gtest/gtest.h>

#include "app/TaskInbox.h"

namespace lanternfly {
namespace {

TEST(TaskInbox, RunsWhatWasPostedInOrderAndOnce) {
    TaskInbox inbox;
    std::vector<int> ran;
    for (int i = 0; i < 3; ++i)
        inbox.post([&, i] { ran.push_back(i); });
    EXPECT_TRUE(ran.empty());
    inbox.run();
    inbox.run();
    EXPECT_EQ(ran, (std::vector{0, 1, 2}));
}

TEST(TaskInbox, RunsWhatItsTasksPost) {
    TaskInbox inbox;
    bool hasRun = false;
    inbox.post([&] { inbox.post([&] { hasRun = true; }); });
    inbox.run();
    EXPECT_TRUE(hasRun);
}

TEST(TaskInbox, WaitsForTasksOfOtherThreads) {
    TaskInbox inbox;
    int count = 0;
    std::jthread other([&] {
        for (int i = 0; i < 1000; ++i)
            inbox.post([&] { ++count; });
    });
    inbox.runUntil([&] { return count == 1000; });
    EXPECT_EQ(count, 1000);
}

TEST(TaskInbox, DoesNotWaitForWhatIsDone) {
    TaskInbox inbox;
    inbox.runUntil([] { return true; });
}

} // namespace
} // namespace lanternfly
