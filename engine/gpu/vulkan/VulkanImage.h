// A picture in the device's memory, with what it was last used for.
// Threads: bound.
#pragma once

#include <vector>

#include "gpu/vulkan/VulkanContext.h"

namespace lanternfly {

// What a command does with an image.
struct ImageUse {
    VkImageLayout layout = VK_IMAGE_LAYOUT_UNDEFINED;
    VkPipelineStageFlags2 stage = VK_PIPELINE_STAGE_2_NONE;
    VkAccessFlags2 access = VK_ACCESS_2_NONE;

    static const ImageUse copiedFrom, copiedTo, sampled, drawnTo;
    friend bool operator==(const ImageUse&, const ImageUse&) = default;
};

class VulkanImage {
public:
    VulkanImage() = default;
    // Throws VulkanError.
    VulkanImage(VulkanContextRef context, int width, int height, VkFormat format,
                VkImageUsageFlags usage, const char* label, int levelCount = 1);
    ~VulkanImage();
    VulkanImage(VulkanImage&& other) noexcept { swap(other); }
    VulkanImage& operator=(VulkanImage&& other) noexcept {
        swap(other);
        return *this;
    }

    VkImage get() const { return _image.get(); }
    // 0 of an empty one.
    int width() const { return _width; }
    int height() const { return _height; }
    bool isAtLeast(int width, int height) const { return _width >= width && _height >= height; }
    int levelCount() const { return static_cast<int>(_levels.size()); }
    // Each level has half the size of the one before, rounded down.
    VkImageView view(int level = 0) const { return _levels[static_cast<size_t>(level)].view.get(); }
    VkDescriptorSet pictureSet(int level = 0) const {
        return _levels[static_cast<size_t>(level)].set.set;
    }
    VkExtent2D extent() const {
        return {static_cast<uint32_t>(_width), static_cast<uint32_t>(_height)};
    }

    // Records that all earlier uses come before this one.
    void use(VkCommandBuffer commands, const ImageUse& next);
    // Records the making of the levels 1 … `last` from level 0, each the average of the one before.
    void halve(VkCommandBuffer commands, int last);
    // What it holds is of no interest any more.
    void discard() { _current.layout = VK_IMAGE_LAYOUT_UNDEFINED; }

private:
    struct Level {
        ImageViewHandle view;
        VulkanContext::PictureSet set;
    };
    void swap(VulkanImage& other) noexcept;
    void order(VkCommandBuffer commands, const ImageUse& from, const ImageUse& to, int firstLevel,
               uint32_t levelCount) const;

    VulkanContextRef _context; // outlives the handles
    MemoryHandle _memory;
    ImageHandle _image;
    std::vector<Level> _levels;
    int _width = 0;
    int _height = 0;
    ImageUse _current;
};

} // namespace lanternfly
