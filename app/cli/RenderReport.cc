#include "app/cli/RenderReport.h"

#include <algorithm>

#include <fmt/format.h>

namespace lanternfly {
namespace {

void printPinches(const std::vector<OverlayRouting::PinchMark>& pinches) {
    const auto begins = std::count_if(pinches.begin(), pinches.end(),
                                      [](const auto& mark) { return mark.isBegin; });
    fmt::print("{:<10}{}", "pinches", begins);
    for (size_t i = 0; i < pinches.size(); ++i) {
        if (!pinches[i].isBegin) continue;
        fmt::print("{} {:.2f} s", i == 0 ? ":" : ",", pinches[i].seconds);
        if (i + 1 < pinches.size()) fmt::print(" to {:.2f} s", pinches[i + 1].seconds);
    }
    fmt::print("\n");
}

} // namespace

void printReport(const RenderReport& report, const StageTimes& times) {
    const auto& render = report.render;
    fmt::print("{}{}: {} frames in {:.1f} s, {:.1f} a second\n", report.out.string(),
               render.isInterrupted ? " (stopped early)" : "", render.frames, report.wallSeconds,
               static_cast<double>(render.frames) / report.wallSeconds);
    fmt::print("{:<10}{:>10}{:>10}\n", "stage", "median ms", "p95 ms");
    for (const RenderStage stage : allRenderStages) {
        const auto summary = times.summary(stage);
        fmt::print("{:<10}{:>10.1f}{:>10.1f}\n", nameOf(stage), summary.medianMs, summary.p95Ms);
    }
    fmt::print("{:<10}in {} of {} frames\n", "hands", report.tally.framesWithHands, render.frames);
    printPinches(report.tally.pinches);
    fmt::print("{:<10}{} of {} frames went without detection, {} came too late\n", "drops",
               render.frames - report.tally.framesDetected, render.frames, render.framesLate);
    if (report.isPaced && report.latency)
        fmt::print("{:<10}{:.1f} ms from camera to slide\n", "latency", report.latency->smoothedMs);
}

} // namespace lanternfly
