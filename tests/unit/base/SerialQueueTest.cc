#include "base/SerialQueue.h"

#include <future>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "base/Weakly.h"

namespace lanternfly {

TEST(SerialQueue, RunsTasksInOrder) {
    SerialQueue queue("test.order");
    std::vector<int> order;
    for (int i = 0; i < 100; ++i)
        queue.async([&order, i] { order.push_back(i); });
    queue.sync([] {});
    ASSERT_EQ(order.size(), 100u);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(order[static_cast<size_t>(i)], i);
}

TEST(SerialQueue, KnowsWhenItIsCurrent) {
    SerialQueue queue("test.current");
    EXPECT_FALSE(queue.isCurrent());
    bool isCurrent = false;
    queue.sync([&] { isCurrent = queue.isCurrent(); });
    EXPECT_TRUE(isCurrent);
}

TEST(SerialQueue, SyncOnItselfRunsAtOnce) {
    SerialQueue queue("test.nested");
    bool hasRun = false;
    queue.sync([&] { queue.sync([&] { hasRun = true; }); });
    EXPECT_TRUE(hasRun);
}

TEST(SerialQueue, MayBeReleasedByItsOwnTask) {
    auto queue = std::make_shared<SerialQueue>("test.release");
    std::promise<void> released;
    auto* raw = queue.get();
    raw->async([queue = std::move(queue), &released]() mutable {
        queue.reset();
        released.set_value();
    });
    released.get_future().wait();
}

TEST(SerialQueue, RunsWhatWasQueuedBeforeItsRelease) {
    std::promise<int> result;
    {
        SerialQueue queue("test.drain");
        queue.async([&result] { result.set_value(5); });
    }
    EXPECT_EQ(result.get_future().get(), 5);
}

struct Counter : std::enable_shared_from_this<Counter> {
    void add(int amount) { total += amount; }
    int total = 0;
};

TEST(Weakly, CallsALivingObjectWithItsArguments) {
    const auto counter = std::make_shared<Counter>();
    auto task = weakly(*counter, &Counter::add, 3);
    task();
    EXPECT_EQ(counter->total, 3);
}

TEST(Weakly, DoesNothingWhenTheObjectIsGone) {
    auto counter = std::make_shared<Counter>();
    const std::weak_ptr<Counter> weak = counter;
    auto task = weakly(*counter, &Counter::add, 3);
    counter.reset();
    EXPECT_TRUE(weak.expired());
    task();
}

} // namespace lanternfly
