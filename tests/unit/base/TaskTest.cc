#include "base/Task.h"

#include <memory>

#include <gtest/gtest.h>

namespace lanternfly {

TEST(Task, RunsItsBody) {
    int runs = 0;
    Task task([&runs] { ++runs; });
    task();
    EXPECT_EQ(runs, 1);
}

TEST(Task, MovesItsCaptureAndLeavesTheSourceEmpty) {
    auto value = std::make_unique<int>(7);
    int seen = 0;
    Task first([&seen, value = std::move(value)] { seen = *value; });
    Task second(std::move(first));
    EXPECT_FALSE(first);
    second();
    EXPECT_EQ(seen, 7);
}

TEST(Task, DestroysItsCaptureOnce) {
    const auto shared = std::make_shared<int>(1);
    {
        Task task([shared] {});
        Task moved;
        moved = std::move(task);
        EXPECT_EQ(shared.use_count(), 2);
    }
    EXPECT_EQ(shared.use_count(), 1);
}

} // namespace lanternfly
