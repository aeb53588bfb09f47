// What libplacebo needs on the machine's Vulkan device to lay a plain 640×360 picture with alpha
// over a 1080p one: camera in, overlay drawn, result back, as our renderer does.
// Threads: bound.
#pragma once

#include <optional>

namespace lanternfly::bench {

// Processor milliseconds a frame of the whole process, the median of some frames. Nothing without a
// Vulkan device.
std::optional<double> placeboOverlayCpuMs();

} // namespace lanternfly::bench
