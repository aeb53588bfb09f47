// The flat layers above the pane: annotation, strokes, the capsule, the dots and the darkening.
// Threads: bound. The context must outlive it.
#pragma once

#include "gpu/vulkan/VulkanTexture.h"
#include "render/FramePlan.h"
#include "render/vulkan/FrameEncoder.h"

namespace lanternfly {

class LayerDraws {
public:
    LayerDraws(const VulkanContext& context, FrameSize output)
        : _context(context), _wholeFrame{0, 0, output.width, output.height} {}

    // A picture over the whole frame.
    void drawPicture(FrameEncoder& encoder, VkDescriptorSet picture, float opacity,
                     bool vDownward) const;
    // Throws VulkanError.
    void drawStrokes(FrameEncoder& encoder, const StrokesDraw& draw);
    void drawPinchBar(FrameEncoder& encoder, const PinchBarDraw& draw) const;
    // Nothing where the optional pipeline is absent.
    void drawTwoHandDots(FrameEncoder& encoder, const TwoHandDotsDraw& draw) const;

private:
    const VulkanContext& _context;
    const PixelRect _wholeFrame;
    VulkanBuffer _strokeVertices; // of all batches of the frame; grows
    StrokeBatches _uploaded;      // what it holds; null: nothing
};

} // namespace lanternfly
