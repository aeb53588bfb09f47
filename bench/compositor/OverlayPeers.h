// What the usual programs need to lay a plain 640×360 picture with alpha over a 1080p one.
// Threads: bound.
#pragma once

#include <optional>

namespace lanternfly::bench {

// Processor milliseconds a frame, all threads together, without what the same sources cost alone.
// Nothing when the program or one of its plugins is not installed.
std::optional<double> gstreamerOverlayCpuMs();
std::optional<double> ffmpegOverlayCpuMs();

} // namespace lanternfly::bench
