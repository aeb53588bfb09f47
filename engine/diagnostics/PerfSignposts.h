// Marks the intervals of the hot paths for profilers: as static probes of the provider
// "lanternfly" (`signpost_begin` and `signpost_end` with category, name and identifier; for perf,
// bpftrace and SystemTap), and in a trace file when one is installed.
// Threads: safe.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace lanternfly {

class TraceFile;

// A string literal: probes and traces keep the pointer.
struct StaticName {
    template <size_t size>
    consteval StaticName(const char (&literal)[size]) // NOLINT: meant to convert
        : text(literal) {}
    const char* text;
};

class PerfSignposts {
public:
    enum class Category { model3DRender, model3DTick, compositorComposite, twoHandProcess };
    static constexpr int categoryCount = 4;

    // Unique among the intervals of one category; `none` is what a disabled begin returns.
    enum class SignpostID : uint64_t { none = 0 };

    struct Log {
        std::string subsystem;
        std::string category;
        std::atomic<uint64_t> lastID{0};
    };

    // When false, every operation does nothing.
    static inline std::atomic<bool> enabled{true};

    static const char* rawName(Category category);
    static SignpostID begin(Category category, StaticName name);
    static void end(SignpostID id, Category category, StaticName name);
    // Runs `body` between begin and end, which also comes when the body throws.
    template <typename Body>
    static decltype(auto) interval(Category category, StaticName name, Body&& body) {
        const Interval running{category, name, begin(category, name)};
        return std::forward<Body>(body)();
    }

    // The category's log, made on first use and kept for the life of the process.
    static Log& log(Category category);
    // Where intervals go besides the probes; null: nowhere.
    static void setTrace(std::shared_ptr<TraceFile> trace);

private:
    struct Interval {
        Category category;
        StaticName name;
        SignpostID id;
        ~Interval() { end(id, category, name); }
    };
};

} // namespace lanternfly
