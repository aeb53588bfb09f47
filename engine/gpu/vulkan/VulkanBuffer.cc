#include "gpu/vulkan/VulkanBuffer.h"

namespace lanternfly {

VulkanBuffer::VulkanBuffer(const VulkanContext& context, VkDeviceSize bytes,
                           VkBufferUsageFlags usage, Access access, const char* label)
    : _sizeBytes(bytes) {
    VkBufferCreateInfo info{};
    info.sType = VK_STRUCTURE_TYPE_BUFFER_CREATE_INFO;
    info.size = bytes;
    info.usage = usage;
    _buffer = context.make<BufferHandle>(vkCreateBuffer, info, label);
    VkMemoryRequirements needs;
    vkGetBufferMemoryRequirements(context.device(), _buffer.get(), &needs);
    _memory =
        context.allocate(needs.size, needs.memoryTypeBits,
                         VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT | VK_MEMORY_PROPERTY_HOST_COHERENT_BIT,
                         access == Access::hostReads ? VK_MEMORY_PROPERTY_HOST_CACHED_BIT : 0);
    check(vkBindBufferMemory(context.device(), _buffer.get(), _memory.get(), 0),
          "vkBindBufferMemory");
    void* mapped = nullptr;
    check(vkMapMemory(context.device(), _memory.get(), 0, VK_WHOLE_SIZE, 0, &mapped),
          "vkMapMemory");
    _bytes = static_cast<uint8_t*>(mapped);
}

void VulkanBuffer::growTo(const VulkanContext& context, VkDeviceSize bytes,
                          VkBufferUsageFlags usage, Access access, const char* label) {
    if (_sizeBytes >= bytes) return;
    *this = VulkanBuffer(context, bytes, usage, access, label);
}

} // namespace lanternfly
