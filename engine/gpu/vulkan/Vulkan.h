// The Vulkan API, and its results as exceptions. The C interface is used as it is: the C++ wrapper
// of its headers costs nine seconds of compile time a source.
// Threads: value.
#pragma once

#include <stdexcept>
#include <string>

#include <vulkan/vulkan.h>

namespace lanternfly {

// Never leaves gpu/vulkan and render/vulkan.
class VulkanError : public std::runtime_error {
public:
    VulkanError(VkResult result, const std::string& call);
    VkResult result() const { return _result; }

private:
    VkResult _result;
};

std::string nameOf(VkResult result);

// Throws unless the call succeeded.
inline void check(VkResult result, const char* call) {
    if (result != VK_SUCCESS) throw VulkanError(result, call);
}

} // namespace lanternfly
