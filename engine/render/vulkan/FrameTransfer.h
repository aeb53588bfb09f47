// Brings camera pictures to the device and frames back: without a copy on the processor where the
// device can read and write pixel buffers itself, else through buffers of its own.
// Threads: bound.
#pragma once

#include "base/PixelBuffer.h"
#include "gpu/vulkan/PixelBufferImport.h"
#include "gpu/vulkan/VulkanBuffer.h"
#include "gpu/vulkan/VulkanImage.h"

namespace lanternfly {

class FrameTransfer {
public:
    explicit FrameTransfer(VulkanContextRef context) : _context(std::move(context)) {}

    // Records the copy of a picture into an image of its size, mirrored left to right if asked.
    // The picture is read until the commands have run. Throws VulkanError.
    void upload(VkCommandBuffer commands, const PixelBuffer& picture, bool mirror,
                VulkanImage& image);

    // Records the copy of an image into `picture`, of the same size. Throws VulkanError.
    void download(VkCommandBuffer commands, VulkanImage& image, PixelBuffer& picture);
    // After the commands have run: the picture is complete.
    void finishDownload(PixelBuffer& picture);

    // Records the copy of an image into another of its size.
    void copy(VkCommandBuffer commands, VulkanImage& from, VulkanImage& to) const;

private:
    VulkanContextRef _context;
    VulkanBuffer _staging;
    VulkanBuffer _readback;
    // Of the frame being recorded.
    std::shared_ptr<const PixelBufferImport> _source;
    std::shared_ptr<const PixelBufferImport> _destination;
};

} // namespace lanternfly
