#include "render/FrameRenderer.h"

#include "render/cpu/CpuFrameRenderer.h"
#include "render/vulkan/VulkanFrameRenderer.h"

namespace lanternfly {

std::unique_ptr<FrameRenderer> makeFrameRenderer(const DeviceRef& device, FrameSize output) {
    switch (device->kind()) {
    case Device::Kind::cpu:
        return std::make_unique<CpuFrameRenderer>(output);
    case Device::Kind::vulkan:
        return makeVulkanFrameRenderer(device, output);
    }
    return nullptr;
}

} // namespace lanternfly
