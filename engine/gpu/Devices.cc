#include "gpu/Devices.h"

#include "base/Logger.h"
#include "gpu/cpu/CpuDevice.h"
#include "gpu/vulkan/VulkanDevice.h"

namespace lanternfly {

namespace {

constexpr std::string_view vulkanWish = "vulkan";

} // namespace

DeviceRef chooseDevice(std::string_view wish) {
    if (wish == "cpu") return CpuDevice::create();
    if (wish.empty()) {
        auto device = VulkanDevice::create();
        if (device && !device->isSoftware()) return device;
        return CpuDevice::create();
    }
    VulkanOptions options;
    if (wish.substr(0, vulkanWish.size()) == vulkanWish) {
        const std::string_view rest = wish.substr(vulkanWish.size());
        if (rest.empty()) return VulkanDevice::create();
        if (rest.front() == ':') {
            options.selector = rest.substr(1);
            return VulkanDevice::create(options);
        }
    }
    Logger("VulkanDevice").error("no device \"{}\": cpu, vulkan or vulkan:NAME", wish);
    return nullptr;
}

} // namespace lanternfly
