// A device that draws with Vulkan 1.3: a GPU, or the driver that emulates one.
// Threads: safe.
#pragma once

#include <memory>
#include <string>

#include "base/LockedCell.h"
#include "base/Logger.h"
#include "gpu/Device.h"
#include "gpu/vulkan/TextureUploader.h"

namespace lanternfly {

struct VulkanOptions {
    std::string selector; // as chooseVulkanDevice reads it
    bool validate = false;
    bool allowHostImport = true; // false: pixels are always copied
};

class VulkanDevice final : public Device {
public:
    // Null, after a log line, when the machine has no such device.
    static std::shared_ptr<VulkanDevice> create(const VulkanOptions& options = {});

    Kind kind() const override { return Kind::vulkan; }
    std::string name() const override;
    // Whether the processor does the drawing.
    bool isSoftware() const;
    TextureRef makeTexture(const PixelBuffer& pixels, const TextureOptions& options) override;

    // What renderers draw with. After a loss it stays lost until recover().
    VulkanContextRef context() const;
    // Replaces the context if it is lost; textures of the old one are gone. False, after a log
    // line, when the device does not come back.
    bool recover();

    const VulkanInstance& instance() const { return *_instance; }

private:
    VulkanDevice(std::shared_ptr<VulkanInstance> instance, VkPhysicalDevice physicalDevice,
                 const VulkanOptions& options);

    const std::shared_ptr<VulkanInstance> _instance;
    const VkPhysicalDevice _physicalDevice;
    const bool _allowHostImport;
    VkPhysicalDeviceProperties _properties{};
    std::mutex _recovering;
    // Replaced as one, with its context.
    LockedCell<std::shared_ptr<TextureUploader>> _uploader;
    Logger _log{"VulkanDevice"};
};

} // namespace lanternfly
