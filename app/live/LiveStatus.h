// How a live show is doing, as a line for people and as JSON for programs.
// Threads: value.
#pragma once

#include <string>
#include <vector>

#include "app/HostMode.h"
#include "app/live/LiveCamera.h"
#include "app/live/LiveFigures.h"
#include "capture/telemetry/TrackingTelemetry.h"
#include "platform/FrameSink.h"

namespace lanternfly {

struct OutputStatus {
    std::string name;
    FrameSinkStatus status;
};

struct LiveStatus {
    CameraStatus camera;
    LiveFigures::Readout figures;
    TrackingTelemetry::Readout hands;
    std::vector<OutputStatus> outputs;
    int page = 0, pageCount = 0; // 0 without a deck
    HostMode mode = HostMode::slide;
};

std::string statusLine(const LiveStatus& status);
std::string statusJson(const LiveStatus& status); // in one line

} // namespace lanternfly
