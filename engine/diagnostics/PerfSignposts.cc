#include "diagnostics/PerfSignposts.h"

#include <array>
#include <mutex>

#include <sys/sdt.h>

#include "base/Identity.h"
#include "diagnostics/TraceFile.h"

namespace lanternfly {

namespace {

struct Logs {
    std::mutex mutex;
    std::array<std::unique_ptr<PerfSignposts::Log>, PerfSignposts::categoryCount> _logs;
    std::shared_ptr<TraceFile> _trace;
};

Logs& logs() {
    // Never destroyed: threads may still mark intervals while the process exits.
    static Logs& all = *new Logs;
    return all;
}

PerfSignposts::Log& logLocked(Logs& all, PerfSignposts::Category category) {
    auto& log = all._logs.at(static_cast<size_t>(category));
    if (!log) {
        log = std::make_unique<PerfSignposts::Log>();
        log->subsystem = std::string(identity::subsystem) + ".perf";
        log->category = PerfSignposts::rawName(category);
    }
    return *log;
}

struct Destination {
    PerfSignposts::Log& log;
    std::shared_ptr<TraceFile> trace;
};

Destination destination(PerfSignposts::Category category) {
    auto& all = logs();
    const std::lock_guard guard(all.mutex);
    return {logLocked(all, category), all._trace};
}

} // namespace

const char* PerfSignposts::rawName(Category category) {
    switch (category) {
    case Category::model3DRender:
        return "model3d-render";
    case Category::model3DTick:
        return "model3d-tick";
    case Category::compositorComposite:
        return "compositor-composite";
    case Category::twoHandProcess:
        return "twohand-process";
    }
    return "";
}

PerfSignposts::SignpostID PerfSignposts::begin(Category category, StaticName name) {
    if (!enabled.load(std::memory_order_relaxed)) return SignpostID::none;
    const auto to = destination(category);
    const uint64_t id = to.log.lastID.fetch_add(1, std::memory_order_relaxed) + 1;
    DTRACE_PROBE3(lanternfly, signpost_begin, to.log.category.c_str(), name.text, id);
    if (to.trace) to.trace->record(TraceFile::Phase::begin, rawName(category), name.text, id);
    return static_cast<SignpostID>(id);
}

void PerfSignposts::end(SignpostID id, Category category, StaticName name) {
    if (!enabled.load(std::memory_order_relaxed)) return;
    const auto to = destination(category);
    const auto number = static_cast<uint64_t>(id);
    DTRACE_PROBE3(lanternfly, signpost_end, to.log.category.c_str(), name.text, number);
    // An interval that began while signposts were off has nothing to close in the trace.
    if (to.trace && id != SignpostID::none)
        to.trace->record(TraceFile::Phase::end, rawName(category), name.text, number);
}

PerfSignposts::Log& PerfSignposts::log(Category category) {
    return destination(category).log;
}

void PerfSignposts::setTrace(std::shared_ptr<TraceFile> trace) {
    auto& all = logs();
    {
        const std::lock_guard guard(all.mutex);
        std::swap(all._trace, trace);
    }
    // The trace that was there may close here: files are not touched under the lock.
}

} // namespace lanternfly
