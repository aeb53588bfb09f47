#include "gpu/vulkan/VulkanImage.h"

#include <algorithm>

namespace lanternfly {

const ImageUse ImageUse::copiedFrom{VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL,
                                    VK_PIPELINE_STAGE_2_COPY_BIT, VK_ACCESS_2_TRANSFER_READ_BIT};
const ImageUse ImageUse::copiedTo{VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL,
                                  VK_PIPELINE_STAGE_2_COPY_BIT, VK_ACCESS_2_TRANSFER_WRITE_BIT};
const ImageUse ImageUse::sampled{VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL,
                                 VK_PIPELINE_STAGE_2_FRAGMENT_SHADER_BIT,
                                 VK_ACCESS_2_SHADER_SAMPLED_READ_BIT};
const ImageUse ImageUse::drawnTo{
    VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL, VK_PIPELINE_STAGE_2_COLOR_ATTACHMENT_OUTPUT_BIT,
    VK_ACCESS_2_COLOR_ATTACHMENT_READ_BIT | VK_ACCESS_2_COLOR_ATTACHMENT_WRITE_BIT};

VulkanImage::VulkanImage(VulkanContextRef context, int width, int height, VkFormat format,
                         VkImageUsageFlags usage, const char* label, int levelCount)
    : _context(std::move(context)), _width(width), _height(height) {
    VkImageCreateInfo info{};
    info.sType = VK_STRUCTURE_TYPE_IMAGE_CREATE_INFO;
    info.imageType = VK_IMAGE_TYPE_2D;
    info.format = format;
    info.extent = {static_cast<uint32_t>(width), static_cast<uint32_t>(height), 1};
    info.mipLevels = static_cast<uint32_t>(levelCount);
    info.arrayLayers = 1;
    info.samples = VK_SAMPLE_COUNT_1_BIT;
    info.usage = usage;
    _image = _context->make<ImageHandle>(vkCreateImage, info, label);
    VkMemoryRequirements needs;
    vkGetImageMemoryRequirements(_context->device(), _image.get(), &needs);
    _memory = _context->allocate(needs.size, needs.memoryTypeBits, 0,
                                 VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT);
    check(vkBindImageMemory(_context->device(), _image.get(), _memory.get(), 0),
          "vkBindImageMemory");
    // Views as attachment and as sampled picture show one level each.
    for (int level = 0; level < levelCount; ++level) {
        VkImageViewCreateInfo view{};
        view.sType = VK_STRUCTURE_TYPE_IMAGE_VIEW_CREATE_INFO;
        view.image = _image.get();
        view.viewType = VK_IMAGE_VIEW_TYPE_2D;
        view.format = format;
        view.subresourceRange = {VK_IMAGE_ASPECT_COLOR_BIT, static_cast<uint32_t>(level), 1, 0, 1};
        _levels.push_back({_context->make<ImageViewHandle>(vkCreateImageView, view, label), {}});
        if (usage & VK_IMAGE_USAGE_SAMPLED_BIT)
            _levels.back().set = _context->makePictureSet(_levels.back().view.get());
    }
}

VulkanImage::~VulkanImage() {
    for (const Level& level : _levels)
        if (level.set.set != VK_NULL_HANDLE) _context->freePictureSet(level.set);
}

void VulkanImage::use(VkCommandBuffer commands, const ImageUse& next) {
    // Readers of one kind need not wait for each other.
    if (next == _current && next == ImageUse::sampled) return;
    order(commands, _current, next, 0, VK_REMAINING_MIP_LEVELS);
    _current = next;
}

void VulkanImage::halve(VkCommandBuffer commands, int last) {
    constexpr ImageUse read{VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, VK_PIPELINE_STAGE_2_BLIT_BIT,
                            VK_ACCESS_2_TRANSFER_READ_BIT};
    constexpr ImageUse written{VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, VK_PIPELINE_STAGE_2_BLIT_BIT,
                               VK_ACCESS_2_TRANSFER_WRITE_BIT};
    if (last < 1) return;
    const auto corner = [&](int level) {
        return VkOffset3D{std::max(_width >> level, 1), std::max(_height >> level, 1), 1};
    };
    use(commands, written);
    for (int level = 1; level <= last; ++level) {
        order(commands, written, read, level - 1, 1);
        const auto to = static_cast<uint32_t>(level);
        VkImageBlit blit{};
        blit.srcSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, to - 1, 0, 1};
        blit.srcOffsets[1] = corner(level - 1);
        blit.dstSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, to, 0, 1};
        blit.dstOffsets[1] = corner(level);
        vkCmdBlitImage(commands, _image.get(), read.layout, _image.get(), written.layout, 1, &blit,
                       VK_FILTER_LINEAR);
    }
    // All levels alike again.
    order(commands, read, written, 0, static_cast<uint32_t>(last));
}

void VulkanImage::order(VkCommandBuffer commands, const ImageUse& from, const ImageUse& to,
                        int firstLevel, uint32_t levelCount) const {
    VkImageMemoryBarrier2 barrier{};
    barrier.sType = VK_STRUCTURE_TYPE_IMAGE_MEMORY_BARRIER_2;
    barrier.srcStageMask = from.stage;
    barrier.srcAccessMask = from.access;
    barrier.dstStageMask = to.stage;
    barrier.dstAccessMask = to.access;
    barrier.oldLayout = from.layout;
    barrier.newLayout = to.layout;
    barrier.srcQueueFamilyIndex = barrier.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
    barrier.image = _image.get();
    barrier.subresourceRange = {VK_IMAGE_ASPECT_COLOR_BIT, static_cast<uint32_t>(firstLevel),
                                levelCount, 0, 1};
    VkDependencyInfo dependency{};
    dependency.sType = VK_STRUCTURE_TYPE_DEPENDENCY_INFO;
    dependency.imageMemoryBarrierCount = 1;
    dependency.pImageMemoryBarriers = &barrier;
    vkCmdPipelineBarrier2(commands, &dependency);
}

void VulkanImage::swap(VulkanImage& other) noexcept {
    std::swap(_context, other._context);
    std::swap(_memory, other._memory);
    std::swap(_image, other._image);
    std::swap(_levels, other._levels);
    std::swap(_width, other._width);
    std::swap(_height, other._height);
    std::swap(_current, other._current);
}

} // namespace lanternfly
