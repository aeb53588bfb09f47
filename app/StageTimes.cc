#include "app/StageTimes.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace lanternfly {
namespace {

constexpr const char* traceCategory = "render";
// A file may claim any number of frames.
constexpr int64_t mostFramesReserved = 1'000'000;

} // namespace

const char* nameOf(RenderStage stage) {
    switch (stage) {
    case RenderStage::decode:
        return "decode";
    case RenderStage::hands:
        return "hands";
    case RenderStage::compose:
        return "compose";
    case RenderStage::encode:
        return "encode";
    }
    return "";
}

StageSummary summarize(std::vector<float> milliseconds) {
    StageSummary summary{.frames = milliseconds.size()};
    if (milliseconds.empty()) return summary;
    std::sort(milliseconds.begin(), milliseconds.end());
    const auto nearestRank = [&](double share) {
        const auto rank =
            static_cast<size_t>(std::ceil(share * static_cast<double>(milliseconds.size())));
        return static_cast<double>(milliseconds[std::max<size_t>(rank, 1) - 1]);
    };
    summary.medianMs = nearestRank(0.5);
    summary.p95Ms = nearestRank(0.95);
    summary.totalMs = std::accumulate(milliseconds.begin(), milliseconds.end(), 0.0);
    return summary;
}

StageTimes::StageTimes(int64_t expectedFrames, std::shared_ptr<TraceFile> trace)
    : _trace(std::move(trace)) {
    const auto room =
        static_cast<size_t>(std::clamp<int64_t>(expectedFrames, 0, mostFramesReserved));
    for (auto& stage : _milliseconds)
        stage.reserve(room);
}

uint64_t StageTimes::begin(RenderStage stage) {
    if (_trace)
        _trace->record(TraceFile::Phase::begin, traceCategory, nameOf(stage),
                       _milliseconds[static_cast<size_t>(stage)].size());
    return SystemClock::shared().uptimeNanos();
}

void StageTimes::end(RenderStage stage, uint64_t startNanos) {
    auto& durations = _milliseconds[static_cast<size_t>(stage)];
    if (_trace)
        _trace->record(TraceFile::Phase::end, traceCategory, nameOf(stage), durations.size());
    durations.push_back(static_cast<float>(SystemClock::shared().uptimeNanos() - startNanos) /
                        1e6f);
}

} // namespace lanternfly
