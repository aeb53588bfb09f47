// The device to draw on, by the user's wish or by what the machine has.
// Threads: safe.
#pragma once

#include <string_view>

#include "gpu/Device.h"

namespace lanternfly {

// An empty wish takes a GPU by Vulkan where there is one, else the CPU device: it draws a frame
// in a fraction of what a software Vulkan device needs. "cpu" asks for the CPU device, "vulkan"
// for the best Vulkan device even if it is a software one, "vulkan:" and more for one that
// chooseVulkanDevice finds. Null, after a log line, when there is no such device.
DeviceRef chooseDevice(std::string_view wish);

} // namespace lanternfly
