#include "gpu/vulkan/Vulkan.h"

namespace lanternfly {

VulkanError::VulkanError(VkResult result, const std::string& call)
    : std::runtime_error(call + ": " + nameOf(result)), _result(result) {}

std::string nameOf(VkResult result) {
    switch (static_cast<int>(result)) {
    case VK_SUCCESS:
        return "success";
    case VK_TIMEOUT:
        return "timeout";
    case VK_INCOMPLETE:
        return "incomplete";
    case VK_ERROR_OUT_OF_HOST_MEMORY:
        return "out of host memory";
    case VK_ERROR_OUT_OF_DEVICE_MEMORY:
        return "out of device memory";
    case VK_ERROR_INITIALIZATION_FAILED:
        return "initialization failed";
    case VK_ERROR_DEVICE_LOST:
        return "device lost";
    case VK_ERROR_MEMORY_MAP_FAILED:
        return "memory map failed";
    case VK_ERROR_LAYER_NOT_PRESENT:
        return "layer not present";
    case VK_ERROR_EXTENSION_NOT_PRESENT:
        return "extension not present";
    case VK_ERROR_FEATURE_NOT_PRESENT:
        return "feature not present";
    case VK_ERROR_INCOMPATIBLE_DRIVER:
        return "incompatible driver";
    case VK_ERROR_FORMAT_NOT_SUPPORTED:
        return "format not supported";
    case VK_ERROR_OUT_OF_POOL_MEMORY:
        return "out of pool memory";
    case VK_ERROR_INVALID_EXTERNAL_HANDLE:
        return "invalid external handle";
    default:
        return "error " + std::to_string(static_cast<int>(result));
    }
}

} // namespace lanternfly
