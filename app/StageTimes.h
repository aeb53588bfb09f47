// How long each stage of a render takes, frame by frame; also told to a trace when there is one.
// Threads: each stage is bound to its own thread; summary() is for when they have ended.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "base/Clock.h"
#include "diagnostics/TraceFile.h"

namespace lanternfly {

enum class RenderStage { decode, hands, compose, encode };
inline constexpr std::array allRenderStages{RenderStage::decode, RenderStage::hands,
                                            RenderStage::compose, RenderStage::encode};
const char* nameOf(RenderStage stage);

// Milliseconds; the p95 is the time that 95 of 100 frames stay within.
struct StageSummary {
    size_t frames = 0;
    double medianMs = 0, p95Ms = 0, totalMs = 0;
};
StageSummary summarize(std::vector<float> milliseconds);

class StageTimes {
public:
    // Room for so many frames is made beforehand; more are taken too.
    StageTimes(int64_t expectedFrames, std::shared_ptr<TraceFile> trace);

    template <typename Body>
    decltype(auto) measure(RenderStage stage, Body&& body) {
        const Running running{*this, stage, begin(stage)};
        return std::forward<Body>(body)();
    }
    StageSummary summary(RenderStage stage) const {
        return summarize(_milliseconds[static_cast<size_t>(stage)]);
    }

    // The trace is told no more, and its file ends when nobody else holds it.
    void endTrace() { _trace.reset(); }

private:
    struct Running {
        StageTimes& times;
        RenderStage stage;
        uint64_t startNanos;
        ~Running() { times.end(stage, startNanos); }
    };
    uint64_t begin(RenderStage stage);
    void end(RenderStage stage, uint64_t startNanos);

    std::array<std::vector<float>, allRenderStages.size()> _milliseconds;
    std::shared_ptr<TraceFile> _trace;
};

} // namespace lanternfly
