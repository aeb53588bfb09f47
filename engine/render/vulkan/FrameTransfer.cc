#include "render/vulkan/FrameTransfer.h"

#include <libyuv.h>

namespace lanternfly {

namespace {

VkBufferImageCopy wholePicture(int width, int height, size_t strideBytes) {
    VkBufferImageCopy copy{};
    copy.bufferRowLength = static_cast<uint32_t>(strideBytes / 4);
    copy.imageSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 0, 1};
    copy.imageExtent = {static_cast<uint32_t>(width), static_cast<uint32_t>(height), 1};
    return copy;
}

VkDeviceSize bytesOf(const PixelBuffer& picture) {
    return static_cast<VkDeviceSize>(picture.strideBytes()) *
           static_cast<VkDeviceSize>(picture.height());
}

} // namespace

void FrameTransfer::upload(VkCommandBuffer commands, const PixelBuffer& picture, bool mirror,
                           VulkanImage& image) {
    _source = mirror ? nullptr : PixelBufferImport::of(picture, _context);
    VkBuffer source = VK_NULL_HANDLE;
    if (_source) {
        source = _source->buffer();
    } else {
        _staging.growTo(*_context, bytesOf(picture), VK_BUFFER_USAGE_TRANSFER_SRC_BIT,
                        VulkanBuffer::Access::hostWrites, "lanternfly.camera.staging");
        source = _staging.get();
        const auto stride = static_cast<int>(picture.strideBytes());
        const auto place = mirror ? libyuv::ARGBMirror : libyuv::ARGBCopy;
        place(picture.data(), stride, _staging.bytes(), stride, picture.width(), picture.height());
    }
    image.discard();
    image.use(commands, ImageUse::copiedTo);
    const auto copy = wholePicture(picture.width(), picture.height(), picture.strideBytes());
    vkCmdCopyBufferToImage(commands, source, image.get(), VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, 1,
                           &copy);
}

void FrameTransfer::download(VkCommandBuffer commands, VulkanImage& image, PixelBuffer& picture) {
    _destination = PixelBufferImport::of(picture, _context);
    VkBuffer destination = VK_NULL_HANDLE;
    if (_destination) {
        destination = _destination->buffer();
    } else {
        _readback.growTo(*_context, bytesOf(picture), VK_BUFFER_USAGE_TRANSFER_DST_BIT,
                         VulkanBuffer::Access::hostReads, "lanternfly.output.readback");
        destination = _readback.get();
    }
    image.use(commands, ImageUse::copiedFrom);
    const auto copy = wholePicture(picture.width(), picture.height(), picture.strideBytes());
    vkCmdCopyImageToBuffer(commands, image.get(), VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, destination,
                           1, &copy);
    VkBufferMemoryBarrier2 barrier{};
    barrier.sType = VK_STRUCTURE_TYPE_BUFFER_MEMORY_BARRIER_2;
    barrier.srcStageMask = VK_PIPELINE_STAGE_2_COPY_BIT;
    barrier.srcAccessMask = VK_ACCESS_2_TRANSFER_WRITE_BIT;
    barrier.dstStageMask = VK_PIPELINE_STAGE_2_HOST_BIT;
    barrier.dstAccessMask = VK_ACCESS_2_HOST_READ_BIT;
    barrier.srcQueueFamilyIndex = barrier.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
    barrier.buffer = destination;
    barrier.size = VK_WHOLE_SIZE;
    VkDependencyInfo dependency{};
    dependency.sType = VK_STRUCTURE_TYPE_DEPENDENCY_INFO;
    dependency.bufferMemoryBarrierCount = 1;
    dependency.pBufferMemoryBarriers = &barrier;
    vkCmdPipelineBarrier2(commands, &dependency);
}

void FrameTransfer::copy(VkCommandBuffer commands, VulkanImage& from, VulkanImage& to) const {
    from.use(commands, ImageUse::copiedFrom);
    to.discard();
    to.use(commands, ImageUse::copiedTo);
    VkImageCopy region{};
    region.srcSubresource = region.dstSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 0, 1};
    region.extent = {from.extent().width, from.extent().height, 1};
    vkCmdCopyImage(commands, from.get(), VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, to.get(),
                   VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, 1, &region);
}

void FrameTransfer::finishDownload(PixelBuffer& picture) {
    if (!_destination)
        libyuv::ARGBCopy(_readback.bytes(), static_cast<int>(picture.strideBytes()), picture.data(),
                         static_cast<int>(picture.strideBytes()), picture.width(),
                         picture.height());
    _source = nullptr;
    _destination = nullptr;
}

} // namespace lanternfly
