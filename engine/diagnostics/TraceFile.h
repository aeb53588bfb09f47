// Writes intervals as trace-event JSON, which Perfetto and chrome://tracing open. Recording fills
// fixed memory; a thread of its own writes the file, and what it cannot keep up with is counted.
// Threads: safe.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "base/Clock.h"

namespace lanternfly {

class TraceFile {
public:
    enum class Phase : char { begin = 'b', end = 'e' };
    // Events held in memory while the writer is busy; a composited frame makes about eight.
    static constexpr size_t capacityEvents = 8192;

    // Creates or replaces the file. Returns null after logging. `clock` outlives the trace.
    static std::unique_ptr<TraceFile> create(const std::filesystem::path& path,
                                             const Clock& clock = SystemClock::shared());
    // Writes what is recorded and ends the file.
    ~TraceFile();
    TraceFile(const TraceFile&) = delete;
    TraceFile& operator=(const TraceFile&) = delete;

    // `category` and `name` live as long as the trace. Begin and end are paired by category, name
    // and id, on whatever threads they come.
    void record(Phase phase, const char* category, const char* name, uint64_t id);
    // Events lost so far because the writer was behind or the disk refused.
    uint64_t droppedEvents() const;

private:
    struct Event {
        uint64_t nanos, id;
        const char *category, *name;
        int thread;
        Phase phase;
    };
    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    using File = std::unique_ptr<std::FILE, CloseFile>;

    TraceFile(File file, const Clock& clock);
    void writeUntilStopped();
    void write(const std::vector<Event>& events);
    void writeLine(const char* text, size_t length);

    const Clock& _clock;
    File _file;
    bool _isFirstLine = true;
    bool _hasFailed = false;

    mutable std::mutex _mutex;
    std::condition_variable _wake;
    std::vector<Event> _filling;
    uint64_t _droppedEvents = 0;
    bool _isStopping = false;

    std::thread _writer; // last: it uses everything above
};

} // namespace lanternfly
