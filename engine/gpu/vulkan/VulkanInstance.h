// The connection to the Vulkan loader and the devices that it offers.
// Threads: safe once made.
#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "base/Logger.h"
#include "gpu/vulkan/DeviceChoice.h"
#include "gpu/vulkan/Vulkan.h"

namespace lanternfly {

class VulkanInstance {
public:
    // With `validate` the Khronos validation layer checks every call, where it is installed; what
    // it says is logged and counted. Throws VulkanError.
    explicit VulkanInstance(bool validate);
    ~VulkanInstance();
    VulkanInstance(const VulkanInstance&) = delete;
    VulkanInstance& operator=(const VulkanInstance&) = delete;

    const std::vector<VkPhysicalDevice>& physicalDevices() const { return _physicalDevices; }
    const std::vector<VulkanCandidate>& candidates() const { return _candidates; }
    bool isValidating() const { return _messenger != VK_NULL_HANDLE; }
    bool hasDebugUtils() const { return _hasDebugUtils; }
    int validationMessageCount() const { return _messageCount; }

private:
    static VkBool32 onMessage(VkDebugUtilsMessageSeverityFlagBitsEXT severity,
                              VkDebugUtilsMessageTypeFlagsEXT types,
                              const VkDebugUtilsMessengerCallbackDataEXT* data, void* self);

    VkInstance _instance = VK_NULL_HANDLE;
    VkDebugUtilsMessengerEXT _messenger = VK_NULL_HANDLE;
    bool _hasDebugUtils = false;
    std::atomic<int> _messageCount{0};
    std::vector<VkPhysicalDevice> _physicalDevices;
    std::vector<VulkanCandidate> _candidates;
    Logger _log{"VulkanDevice"};
};

} // namespace lanternfly
