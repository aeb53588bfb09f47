// The pages of a pixel buffer as a buffer of the device, without a copy.
// Threads: safe.
#pragma once

#include "base/PixelBuffer.h"
#include "gpu/vulkan/VulkanContext.h"

namespace lanternfly {

class PixelBufferImport {
public:
    // Made once; afterwards it stays with the pixel buffer as its companion. Null when the device
    // cannot import this memory: copy the pixels then.
    static std::shared_ptr<const PixelBufferImport> of(const PixelBuffer& pixels,
                                                       const VulkanContextRef& context);

    // Throws VulkanError.
    PixelBufferImport(VulkanContextRef context, const PixelBuffer& pixels);

    VkBuffer buffer() const { return _buffer.get(); }

private:
    VulkanContextRef _context; // outlives the handles
    MemoryHandle _memory;
    BufferHandle _buffer;
};

} // namespace lanternfly
