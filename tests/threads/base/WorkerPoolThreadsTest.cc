// Several threads call one pool as frames and strokes do. ThreadSanitizer judges the accesses; the
// assertions judge that every call has all its parts done when it returns.
#include <numeric>

#include <gtest/gtest.h>

#include "base/WorkerPool.h"

namespace lanternfly {

TEST(WorkerPoolThreads, CallsFromManyThreadsEachGetTheirWorkDone) {
    WorkerPool pool(2);
    std::vector<std::thread> callers;
    for (size_t caller = 0; caller < 3; ++caller)
        callers.emplace_back([&pool, caller] {
            for (size_t round = 0; round < 500; ++round) {
                const size_t count = (round + caller) % 40;
                std::vector<size_t> parts(count, 0);             // written by whoever does a part
                std::vector<size_t> sums(pool.threadCount(), 0); // one a thread
                pool.forEach(count, [&](size_t part, size_t thread) {
                    parts[part] = part + round;
                    sums[thread] += part;
                });
                for (size_t part = 0; part < count; ++part)
                    ASSERT_EQ(parts[part], part + round);
                ASSERT_EQ(std::accumulate(sums.begin(), sums.end(), size_t{0}),
                          count == 0 ? 0 : count * (count - 1) / 2);
            }
        });
    for (std::thread& caller : callers)
        caller.join();
}

TEST(WorkerPoolThreads, AnIdlePoolEndsAtOnce) {
    for (int round = 0; round < 50; ++round) {
        WorkerPool pool(3);
        std::atomic<int> done = 0;
        if (round % 2 == 0) pool.forEach(2, [&](size_t, size_t) { ++done; });
        EXPECT_EQ(done, round % 2 == 0 ? 2 : 0);
    }
}

} // namespace lanternfly
