// Brings pixels into images of the device through one staging buffer.
// Threads: safe.
#pragma once

#include <mutex>
#include <vector>

#include "base/PixelBuffer.h"
#include "gpu/vulkan/CommandRecorder.h"
#include "gpu/vulkan/VulkanBuffer.h"
#include "gpu/vulkan/VulkanImage.h"

namespace lanternfly {

class TextureUploader {
public:
    // Throws VulkanError.
    explicit TextureUploader(VulkanContextRef context);

    const VulkanContextRef& context() const { return _context; }

    // `levels` are BGRA, each half the size of the one before. With `flipRows` the first row
    // becomes the last. Throws VulkanError.
    VulkanImage upload(const std::vector<const PixelBuffer*>& levels, bool flipRows,
                       const char* label);

private:
    const VulkanContextRef _context;
    std::mutex _mutex;
    CommandRecorder _recorder;
    VulkanBuffer _staging;
};

} // namespace lanternfly
