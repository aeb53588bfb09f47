#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "app/BoundedQueue.h"

namespace lanternfly {
namespace {

TEST(BoundedQueue, ItemsComeOutInOrderThroughAQueueSmallerThanTheirNumber) {
    BoundedQueue<int> queue(3);
    std::jthread producer([&] {
        for (int i = 0; i < 1000; ++i)
            queue.push(i);
        queue.close();
    });
    std::vector<int> seen;
    while (const auto item = queue.pop())
        seen.push_back(*item);
    ASSERT_EQ(seen.size(), 1000u);
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(seen[static_cast<size_t>(i)], i);
}

TEST(BoundedQueue, AClosedQueueGivesWhatIsInsideAndTakesNothing) {
    BoundedQueue<int> queue(2);
    EXPECT_TRUE(queue.push(1));
    queue.close();
    EXPECT_FALSE(queue.push(2));
    EXPECT_EQ(queue.pop(), 1);
    EXPECT_EQ(queue.pop(), std::nullopt);
}

TEST(BoundedQueue, AbandoningDropsWhatIsInsideAndWakesAWaitingProducer) {
    BoundedQueue<std::shared_ptr<int>> queue(1);
    const auto item = std::make_shared<int>(1);
    queue.push(item);
    bool wasTaken = true;
    std::jthread producer([&] { wasTaken = queue.push(std::make_shared<int>(2)); });
    queue.abandon();
    producer.join();
    EXPECT_FALSE(wasTaken);
    EXPECT_EQ(item.use_count(), 1);
    EXPECT_EQ(queue.pop(), std::nullopt);
}

} // namespace
} // namespace lanternfly
