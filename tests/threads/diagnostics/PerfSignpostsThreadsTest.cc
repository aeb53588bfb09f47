#include "diagnostics/PerfSignposts.h"

#include <barrier>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/TraceReader.h"

namespace lanternfly {
namespace {

using Category = PerfSignposts::Category;
constexpr int threadCount = 8;

template <typename Body>
void onManyThreads(Body body) {
    std::barrier start(threadCount);
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([&, i] {
            start.arrive_and_wait();
            body(i);
        });
    }
    for (auto& thread : threads)
        thread.join();
}

TEST(PerfSignpostsThreads, ALogIsMadeOnceHoweverManyThreadsAskFirst) {
    std::vector<PerfSignposts::Log*> found(threadCount);
    onManyThreads([&](int i) {
        found[static_cast<size_t>(i)] = &PerfSignposts::log(Category::model3DRender);
    });
    EXPECT_EQ(std::set<PerfSignposts::Log*>(found.begin(), found.end()).size(), 1u);
}

TEST(PerfSignpostsThreads, IdentifiersOfOneCategoryNeverRepeat) {
    constexpr size_t perThread = 500;
    std::vector<std::vector<uint64_t>> ids(threadCount);
    onManyThreads([&](int i) {
        for (size_t n = 0; n < perThread; ++n)
            ids[static_cast<size_t>(i)].push_back(static_cast<uint64_t>(
                PerfSignposts::begin(Category::compositorComposite, "composite")));
    });
    std::set<uint64_t> all;
    for (const auto& some : ids)
        all.insert(some.begin(), some.end());
    EXPECT_EQ(all.size(), threadCount * perThread);
}

TEST(PerfSignpostsThreads, TracesAndTheFlagMayChangeWhileIntervalsRun) {
    test::TemporaryFolder folder;
    const auto path = folder.path() / "trace.json";
    onManyThreads([&](int i) {
        for (int n = 0; n < 200; ++n) {
            if (i == 0) PerfSignposts::enabled = n % 2 == 0;
            if (i == 1 && n % 20 == 0)
                PerfSignposts::setTrace(n % 40 == 0 ? TraceFile::create(path) : nullptr);
            PerfSignposts::interval(Category::twoHandProcess, "process", [] {});
        }
    });
    PerfSignposts::enabled = true;
    PerfSignposts::setTrace(nullptr);
    EXPECT_NO_THROW(test::traceEvents(path));
}

} // namespace
} // namespace lanternfly
