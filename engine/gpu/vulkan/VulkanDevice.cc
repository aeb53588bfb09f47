#include "gpu/vulkan/VulkanDevice.h"

#include "gpu/PrefilteredLevels.h"
#include "gpu/vulkan/VulkanTexture.h"

namespace lanternfly {

VulkanDevice::VulkanDevice(std::shared_ptr<VulkanInstance> instance,
                           VkPhysicalDevice physicalDevice, const VulkanOptions& options)
    : _instance(std::move(instance)), _physicalDevice(physicalDevice),
      _allowHostImport(options.allowHostImport) {
    vkGetPhysicalDeviceProperties(_physicalDevice, &_properties);
    _uploader.set(std::make_shared<TextureUploader>(
        std::make_shared<VulkanContext>(_instance, _physicalDevice, _allowHostImport)));
}

std::shared_ptr<VulkanDevice> VulkanDevice::create(const VulkanOptions& options) {
    const Logger log("VulkanDevice");
    try {
        auto instance = std::make_shared<VulkanInstance>(options.validate);
        const auto index = chooseVulkanDevice(instance->candidates(), options.selector);
        if (!index) {
            log.info("no Vulkan 1.3 device fits \"{}\"", options.selector);
            return nullptr;
        }
        const VkPhysicalDevice physicalDevice = instance->physicalDevices()[*index];
        return std::shared_ptr<VulkanDevice>(
            new VulkanDevice(std::move(instance), physicalDevice, options));
    } catch (const VulkanError& error) {
        log.warning("no Vulkan device: {}", error.what());
        return nullptr;
    }
}

std::string VulkanDevice::name() const {
    return _properties.deviceName;
}

bool VulkanDevice::isSoftware() const {
    return _properties.deviceType == VK_PHYSICAL_DEVICE_TYPE_CPU;
}

VulkanContextRef VulkanDevice::context() const {
    return _uploader.get()->context();
}

TextureRef VulkanDevice::makeTexture(const PixelBuffer& pixels, const TextureOptions& options) {
    if (pixels.format() != PixelFormat::bgra8) return nullptr;
    std::vector<PixelBufferRef> smaller;
    if (options.prefilteredLevels) smaller = prefilteredLevels(pixels);
    std::vector<const PixelBuffer*> levels{&pixels};
    for (const auto& level : smaller)
        levels.push_back(level.get());
    const auto uploader = _uploader.get();
    try {
        return std::make_shared<VulkanTexture>(
            shared_from_this(), uploader->context(),
            uploader->upload(levels, options.flipRows, options.label.c_str()));
    } catch (const VulkanError& error) {
        _log.error("no texture of {}x{}: {}", pixels.width(), pixels.height(), error.what());
        return nullptr;
    }
}

bool VulkanDevice::recover() {
    const std::lock_guard guard(_recovering);
    if (!context()->isLost()) return true;
    try {
        _uploader.set(std::make_shared<TextureUploader>(
            std::make_shared<VulkanContext>(_instance, _physicalDevice, _allowHostImport)));
        _log.warning("the lost device is back: {}", name());
        return true;
    } catch (const VulkanError& error) {
        _log.error("the lost device stays away: {}", error.what());
        return false;
    }
}

} // namespace lanternfly
