// A Gaussian blur of a picture with clamped edges, for the part of it that is asked for: averaged
// down, convolved there in two passes, and interpolated by whoever samples the result. The same
// arithmetic as the CPU renderer's, without its rounding.
// Threads: bound.
#pragma once

#include "render/vulkan/FrameEncoder.h"

namespace lanternfly {

class VulkanBlur {
public:
    VulkanBlur(VulkanContextRef context, const char* label)
        : _context(std::move(context)), _label(label) {}

    // Encodes the passes. `rect` lies inside the source; sigmas are in pixels, at least 0.3. Images
    // grow to the largest size seen and stay. Throws VulkanError.
    void encode(FrameEncoder& encoder, VulkanImage& source, const PixelRect& rect, float2 sigma);

    // The blurred picture, and where a pixel of the source lies in it: pixel · scale + offset.
    VkDescriptorSet picture() const { return _cells.pictureSet(); }
    float4 pixelToPicture() const { return _pixelToPicture; } // scale x, y, offset x, y

private:
    void makeImages(int width, int height, int verticalHeight);

    VulkanContextRef _context;
    const char* _label;
    VulkanImage _cells;    // averaged, and in the end blurred
    VulkanImage _vertical; // blurred in one direction
    float4 _pixelToPicture{0};
};

} // namespace lanternfly
