#include "gpu/vulkan/PixelBufferImport.h"

namespace lanternfly {

namespace {

constexpr auto hostAllocation = VK_EXTERNAL_MEMORY_HANDLE_TYPE_HOST_ALLOCATION_BIT_EXT;

} // namespace

std::shared_ptr<const PixelBufferImport> PixelBufferImport::of(const PixelBuffer& pixels,
                                                               const VulkanContextRef& context) {
    if (!context->canImportHostMemory()) return nullptr;
    auto kept = std::static_pointer_cast<const PixelBufferImport>(pixels.companion());
    if (kept && kept->_context == context) return kept;
    try {
        auto made = std::make_shared<const PixelBufferImport>(context, pixels);
        pixels.setCompanion(made);
        return made;
    } catch (const VulkanError&) {
        return nullptr;
    }
}

PixelBufferImport::PixelBufferImport(VulkanContextRef context, const PixelBuffer& pixels)
    : _context(std::move(context)) {
    const VkDeviceSize bytes =
        PixelBuffer::sizeBytes(pixels.width(), pixels.height(), pixels.format());
    VkExternalMemoryBufferCreateInfo external{};
    external.sType = VK_STRUCTURE_TYPE_EXTERNAL_MEMORY_BUFFER_CREATE_INFO;
    external.handleTypes = hostAllocation;
    VkBufferCreateInfo info{};
    info.sType = VK_STRUCTURE_TYPE_BUFFER_CREATE_INFO;
    info.pNext = &external;
    info.size = bytes;
    info.usage = VK_BUFFER_USAGE_TRANSFER_SRC_BIT | VK_BUFFER_USAGE_TRANSFER_DST_BIT;
    _buffer = _context->make<BufferHandle>(vkCreateBuffer, info, "lanternfly.pixels");
    VkMemoryRequirements needs;
    vkGetBufferMemoryRequirements(_context->device(), _buffer.get(), &needs);
    if (needs.size > bytes)
        throw VulkanError(VK_ERROR_INVALID_EXTERNAL_HANDLE, "pixel buffer too small");
    // The device writes through the pointer only in copies to this buffer, which callers order for
    // buffers that they may write.
    auto* pointer = const_cast<uint8_t*>(pixels.data());
    _memory = _context->allocate(
        bytes, needs.memoryTypeBits,
        VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT | VK_MEMORY_PROPERTY_HOST_COHERENT_BIT, 0, pointer);
    check(vkBindBufferMemory(_context->device(), _buffer.get(), _memory.get(), 0),
          "vkBindBufferMemory");
}

} // namespace lanternfly
