#include "base/WorkerPool.h"

#include <array>
#include <latch>
#include <stdexcept>

#include <gtest/gtest.h>

namespace lanternfly {

TEST(WorkerPool, DoesEveryPartOnce) {
    for (const size_t helpers : {0, 1, 3}) {
        WorkerPool pool(helpers);
        EXPECT_EQ(pool.threadCount(), helpers + 1);
        for (const size_t count : {0, 1, 2, 7, 1000}) {
            std::vector<std::atomic<int>> done(count);
            pool.forEach(count, [&](size_t part, size_t thread) {
                EXPECT_LE(thread, helpers);
                ++done[part];
            });
            for (size_t part = 0; part < count; ++part)
                EXPECT_EQ(done[part], 1) << part << " of " << count;
        }
    }
}

TEST(WorkerPool, ThreadsAreAtWorkAtTheSameTime) {
    WorkerPool pool(2);
    std::latch all(3);
    std::array<std::atomic<int>, 3> partsOf{};
    // Each part waits for the others, so that nobody can do two of them.
    pool.forEach(3, [&](size_t, size_t thread) {
        ++partsOf[thread];
        all.arrive_and_wait();
    });
    for (const auto& parts : partsOf)
        EXPECT_EQ(parts, 1);
}

TEST(WorkerPool, ACallFromInsideAPartIsDoneAlone) {
    WorkerPool pool(1);
    std::atomic<int> done = 0;
    pool.forEach(2, [&](size_t, size_t) {
        pool.forEach(10, [&](size_t, size_t thread) {
            EXPECT_EQ(thread, 0u);
            ++done;
        });
    });
    EXPECT_EQ(done, 20);
}

TEST(WorkerPool, AnExceptionComesOutAndThePoolGoesOn) {
    WorkerPool pool(1);
    for (const size_t count : {1, 2, 500}) {
        const auto throwing = [&](size_t part, size_t) {
            if (part == count / 2) throw std::runtime_error("part");
        };
        EXPECT_THROW(pool.forEach(count, throwing), std::runtime_error);
        std::atomic<size_t> done = 0;
        pool.forEach(count, [&](size_t, size_t) { ++done; });
        EXPECT_EQ(done, count);
    }
}

TEST(WorkerPool, TheSharedOneLeavesTheOthersTheirProcessors) {
    EXPECT_GE(WorkerPool::shared().threadCount(), 1u);
    EXPECT_LE(WorkerPool::shared().threadCount(),
              std::max(std::thread::hardware_concurrency(), 1u));
}

} // namespace lanternfly
