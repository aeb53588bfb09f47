// A texture of a Vulkan device.
// Threads: safe once made.
#pragma once

#include "base/Vectors.h"
#include "gpu/Texture.h"
#include "gpu/vulkan/VulkanImage.h"

namespace lanternfly {

class VulkanTexture final : public Texture {
public:
    // `image` is in the layout of sampled pictures.
    VulkanTexture(std::shared_ptr<const Device> device, VulkanContextRef context, VulkanImage image)
        : Texture(std::move(device), image.width(), image.height()), _context(std::move(context)),
          _image(std::move(image)) {}

    // A texture does not survive the loss of its context.
    const VulkanContextRef& context() const { return _context; }
    int levelCount() const { return _image.levelCount(); }
    int2 levelSize(int level) const {
        return glm::max(int2(width() >> level, height() >> level), 1);
    }
    VkDescriptorSet pictureSet(int level) const { return _image.pictureSet(level); }

private:
    VulkanContextRef _context;
    VulkanImage _image;
};

} // namespace lanternfly
