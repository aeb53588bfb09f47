#include "gpu/vulkan/TextureUploader.h"

#include <cstring>

namespace lanternfly {

namespace {

VkDeviceSize bytesOf(const PixelBuffer& pixels) {
    return static_cast<VkDeviceSize>(pixels.width()) * static_cast<VkDeviceSize>(pixels.height()) *
           4;
}

} // namespace

TextureUploader::TextureUploader(VulkanContextRef context)
    : _context(std::move(context)), _recorder(_context, "lanternfly.upload") {}

VulkanImage TextureUploader::upload(const std::vector<const PixelBuffer*>& levels, bool flipRows,
                                    const char* label) {
    VulkanImage image(_context, levels.front()->width(), levels.front()->height(),
                      VK_FORMAT_B8G8R8A8_UNORM,
                      VK_IMAGE_USAGE_SAMPLED_BIT | VK_IMAGE_USAGE_TRANSFER_DST_BIT, label,
                      static_cast<int>(levels.size()));
    VkDeviceSize bytes = 0;
    for (const PixelBuffer* level : levels)
        bytes += bytesOf(*level);

    const std::lock_guard guard(_mutex);
    _staging.growTo(*_context, bytes, VK_BUFFER_USAGE_TRANSFER_SRC_BIT,
                    VulkanBuffer::Access::hostWrites, "lanternfly.upload");
    const VkCommandBuffer commands = _recorder.begin();
    image.use(commands, ImageUse::copiedTo);
    VkDeviceSize offset = 0;
    for (size_t i = 0; i < levels.size(); ++i) {
        const PixelBuffer& level = *levels[i];
        const auto rowBytes = static_cast<size_t>(level.width()) * 4;
        for (int y = 0; y < level.height(); ++y)
            std::memcpy(_staging.bytes() + offset + static_cast<size_t>(y) * rowBytes,
                        level.row(flipRows ? level.height() - 1 - y : y), rowBytes);
        VkBufferImageCopy copy{};
        copy.bufferOffset = offset;
        copy.imageSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, static_cast<uint32_t>(i), 0, 1};
        copy.imageExtent = {static_cast<uint32_t>(level.width()),
                            static_cast<uint32_t>(level.height()), 1};
        vkCmdCopyBufferToImage(commands, _staging.get(), image.get(),
                               VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, 1, &copy);
        offset += bytesOf(level);
    }
    image.use(commands, ImageUse::sampled);
    _recorder.submitAndWait();
    return image;
}

} // namespace lanternfly
