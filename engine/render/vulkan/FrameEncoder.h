// Encodes the draws of one frame: quads of a vertex ring, each with its uniforms, picture and
// rectangle.
// Threads: bound. The context must outlive it.
#pragma once

#include "gpu/vulkan/VulkanBuffer.h"
#include "gpu/vulkan/VulkanImage.h"
#include "render/PaneGeometry.h"
#include "render/vulkan/Pipelines.h"

namespace lanternfly {

class FrameEncoder {
public:
    // Throws VulkanError.
    FrameEncoder(const VulkanContext& context, const Pipelines& pipelines);

    void begin(VkCommandBuffer commands);
    VkCommandBuffer commands() const { return _commands; }
    const Pipelines& pipelines() const { return _pipelines; }

    // What a pass finds where nothing was drawn in it.
    enum class Start { kept, opaqueBlack, undefined };
    // Everything drawn until endPass() goes to `area` of the target.
    void beginPass(VulkanImage& target, const PixelRect& area, Start start, const char* label);
    void endPass();

    // One quad, inside `rect` of the target.
    void draw(const PipelineHandle& pipeline, const Quad& quad, const PushedUniforms& uniforms,
              const PixelRect& rect, VkDescriptorSet picture = VK_NULL_HANDLE,
              VkDescriptorSet secondPicture = VK_NULL_HANDLE);
    // A triangle strip of stroke vertices that lie in `vertices` from `offset` on.
    void drawStrip(const PipelineHandle& pipeline, VkBuffer vertices, VkDeviceSize offset,
                   int vertexCount, const PushedUniforms& uniforms, const PixelRect& rect);

private:
    void prepare(const PipelineHandle& pipeline, const PushedUniforms& uniforms,
                 const PixelRect& rect);

    const VulkanContext& _context;
    const Pipelines& _pipelines;
    VulkanBuffer _ring;
    int _quadCount = 0;
    VkCommandBuffer _commands = VK_NULL_HANDLE;
};

// The whole of clip space; u and v from 0 to 1, v downward or upward.
Quad fullQuad(bool vDownward = true);

} // namespace lanternfly
