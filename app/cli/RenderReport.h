// What a render did, as a table on standard output.
// Threads: bound.
#pragma once

#include <filesystem>
#include <optional>

#include "app/OfflineRender.h"

namespace lanternfly {

struct RenderReport {
    std::filesystem::path out;
    OfflineRender::Result render;
    OverlayRouting::Tally tally;
    std::optional<PinchTransformController::LatencyReadout> latency;
    double wallSeconds = 0;
    bool isPaced = false;
};

void printReport(const RenderReport& report, const StageTimes& times);

} // namespace lanternfly
