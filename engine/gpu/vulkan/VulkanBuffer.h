// A block of memory that the processor writes or reads and the device copies from or to.
// Threads: bound. The context must outlive it.
#pragma once

#include <cstdint>

#include "gpu/vulkan/VulkanContext.h"

namespace lanternfly {

class VulkanBuffer {
public:
    enum class Access { hostWrites, hostReads };

    VulkanBuffer() = default;
    // Always mapped, coherent. Throws VulkanError.
    VulkanBuffer(const VulkanContext& context, VkDeviceSize bytes, VkBufferUsageFlags usage,
                 Access access, const char* label);

    VkBuffer get() const { return _buffer.get(); }
    VkDeviceSize sizeBytes() const { return _sizeBytes; }
    uint8_t* bytes() const { return _bytes; }

    // Makes it at least this large; its contents are then lost. Throws VulkanError.
    void growTo(const VulkanContext& context, VkDeviceSize bytes, VkBufferUsageFlags usage,
                Access access, const char* label);

private:
    MemoryHandle _memory;
    BufferHandle _buffer;
    VkDeviceSize _sizeBytes = 0;
    uint8_t* _bytes = nullptr;
};

} // namespace lanternfly
