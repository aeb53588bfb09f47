// What GStreamer's `compositor` needs to lay a plain 640×360 picture with alpha over a 1080p one.
// Threads: bound.
#pragma once

#include <optional>

namespace lanternfly::bench {

// Processor milliseconds a frame, all threads together, without what the same sources cost alone.
// Nothing when gst-launch-1.0 or one of its plugins is not installed.
std::optional<double> gstreamerOverlayCpuMs();

} // namespace lanternfly::bench
