// Records commands, has them run and waits for their end, again and again.
// Threads: bound.
#pragma once

#include "gpu/vulkan/VulkanContext.h"

namespace lanternfly {

class CommandRecorder {
public:
    // Throws VulkanError.
    CommandRecorder(VulkanContextRef context, const char* label);

    // What was recorded before and never run is forgotten. Throws VulkanError.
    VkCommandBuffer begin();
    // Throws VulkanError.
    void submitAndWait();

private:
    VulkanContextRef _context; // outlives the handles
    CommandPoolHandle _pool;
    FenceHandle _fence;
    VkCommandBuffer _commands = VK_NULL_HANDLE;
    const char* _label;
};

} // namespace lanternfly
