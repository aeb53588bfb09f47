#include "diagnostics/TraceFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/LogCapture.h"
#include "support/TraceReader.h"

namespace lanternfly {
namespace {

using Phase = TraceFile::Phase;

class TraceFileTest : public testing::Test {
protected:
    test::TemporaryFolder folder;
    std::filesystem::path path = folder.path() / "trace.json";
    ManualClock clock{1'234'567};
};

TEST_F(TraceFileTest, TimesAreMicrosecondsWithTheNanosecondsKept) {
    {
        const auto trace = TraceFile::create(path, clock);
        trace->record(Phase::begin, "cat", "name", 1);
        clock.advanceNanos(1'000);
        trace->record(Phase::end, "cat", "name", 1);
    }
    const auto events = test::traceEvents(path);
    ASSERT_EQ(events.size(), 2u);
    EXPECT_DOUBLE_EQ(events[0]["ts"].get<double>(), 1234.567);
    EXPECT_DOUBLE_EQ(events[1]["ts"].get<double>(), 1235.567);
    EXPECT_EQ(events[0]["pid"], getpid());
    EXPECT_EQ(events[0]["tid"], gettid());
}

TEST_F(TraceFileTest, NamesThatJsonMustEscapeAreEscaped) {
    {
        const auto trace = TraceFile::create(path, clock);
        trace->record(Phase::begin, "c\"\\", "\n\x01 \xff", 1);
    }
    const auto events = test::traceEvents(path);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0]["cat"], "c\"\\");
    EXPECT_EQ(events[0]["name"], "\n\x01 \xEF\xBF\xBD");
}

TEST_F(TraceFileTest, AnEmptyTraceIsWellFormed) {
    TraceFile::create(path, clock).reset();
    EXPECT_TRUE(test::traceEvents(path).empty());
}

TEST_F(TraceFileTest, APathThatCannotBeWrittenIsLoggedAndRefused) {
    test::LogCapture logs;
    EXPECT_EQ(TraceFile::create(folder.path() / "no" / "trace.json", clock), nullptr);
    EXPECT_EQ(logs.lines().size(), 1u);
}

TEST_F(TraceFileTest, ManyEventsOfManyThreadsAllArrive) {
    constexpr int threadCount = 4;
    constexpr int perThread = 1000; // together fewer than fit in memory
    uint64_t dropped = 0;
    {
        const auto trace = TraceFile::create(path, clock);
        std::vector<std::thread> threads;
        for (int i = 0; i < threadCount; ++i) {
            threads.emplace_back([&] {
                for (uint64_t id = 1; id <= perThread; ++id)
                    trace->record(Phase::begin, "cat", "name", id);
            });
        }
        for (auto& thread : threads)
            thread.join();
        dropped = trace->droppedEvents();
    }
    EXPECT_EQ(dropped, 0u);
    EXPECT_EQ(test::traceEvents(path).size(), size_t{threadCount * perThread});
}

TEST_F(TraceFileTest, AWriterThatIsBehindLosesEventsAndCountsThem) {
    // A pipe that nobody reads yet: the writer soon waits for it.
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int reading = open(path.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(reading, 0);

    auto trace = TraceFile::create(path, clock);
    constexpr uint64_t total = 4 * TraceFile::capacityEvents;
    for (uint64_t id = 1; id <= total; ++id)
        trace->record(Phase::begin, "cat", "name", id);
    const uint64_t dropped = trace->droppedEvents();
    EXPECT_GE(dropped, TraceFile::capacityEvents);

    std::string text;
    std::thread reader([&] {
        char bytes[65536];
        while (!text.ends_with("\n]\n")) {
            const ssize_t count = read(reading, bytes, sizeof bytes);
            if (count <= 0) break;
            text.append(bytes, static_cast<size_t>(count));
        }
    });
    trace.reset();
    reader.join();
    close(reading);

    const auto events = nlohmann::json::parse(text);
    EXPECT_EQ(events.size() - 2, total - dropped); // without the two lines about the process
    EXPECT_EQ(events.back()["args"]["count"], dropped);
}

TEST_F(TraceFileTest, AFullDiskIsLoggedOnceAndCounted) {
    if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "needs /dev/full";
    test::LogCapture logs;
    auto trace = TraceFile::create("/dev/full", clock);
    ASSERT_NE(trace, nullptr);
    for (uint64_t id = 1; id <= 3 * TraceFile::capacityEvents; ++id)
        trace->record(Phase::begin, "cat", "name", id);
    trace.reset();
    EXPECT_EQ(logs.lines().size(), 1u);
}

} // namespace
} // namespace lanternfly
