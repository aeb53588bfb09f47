// A Gaussian blur of a picture with clamped edges, for the part of it that is asked for: averaged
// down, convolved there in two passes, and interpolated by whoever samples the result. The same
// arithmetic as the CPU renderer's, without its rounding.
// Threads: bound.
#pragma once

#include "render/vulkan/FrameEncoder.h"

namespace lanternfly {

// point · scale + offset.
struct ScaleAndOffset {
    float2 scale{1};
    float2 offset{0};

    // First this one, then `next`.
    ScaleAndOffset then(const ScaleAndOffset& next) const {
        return {scale * next.scale, offset * next.scale + next.offset};
    }
    float4 packed() const { return {scale, offset}; }
};

class VulkanBlur {
public:
    VulkanBlur(VulkanContextRef context, const char* label)
        : _context(std::move(context)), _label(label) {}

    // Encodes the passes. `source` is ready to be sampled, `rect` lies inside it; sigmas are in
    // pixels, and below 0.3 count as 0.3. Images grow to the largest size seen and stay. Throws
    // VulkanError.
    void encode(FrameEncoder& encoder, VkDescriptorSet source, int2 sourceSize,
                const PixelRect& rect, float2 sigma);

    // The blurred picture, and where a pixel of the source lies in it.
    VkDescriptorSet picture() const { return _cells.pictureSet(); }
    const ScaleAndOffset& pixelToPicture() const { return _pixelToPicture; }

private:
    void makeImages(int width, int height, int verticalHeight);

    VulkanContextRef _context;
    const char* _label;
    VulkanImage _cells;    // averaged, and in the end blurred
    VulkanImage _vertical; // blurred in one direction
    ScaleAndOffset _pixelToPicture;
};

} // namespace lanternfly
