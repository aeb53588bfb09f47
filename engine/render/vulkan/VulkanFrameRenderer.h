// Draws frames with Vulkan: the camera arrives by copy, blurs run on averaged pictures, and one
// pass draws every layer inside its own rectangle. In steady state no object is made.
// Threads: bound.
#pragma once

#include <memory>

#include "base/Logger.h"
#include "render/FrameRenderer.h"
#include "render/vulkan/ShaderTexts.h"

namespace lanternfly {

// Null, after a log line, when the device is no Vulkan device or a required shader or pipeline
// fails. Without an optional one (spatial_fs, twoHandDots_fs) what it draws is left out. After a
// loss of the device the next frame is drawn on a new context, without the textures of the old.
std::unique_ptr<FrameRenderer>
makeVulkanFrameRenderer(const DeviceRef& device, FrameSize output,
                        const ShaderTexts& shaders = embeddedShaders());

} // namespace lanternfly
