#include "render/vulkan/FrameEncoder.h"

#include <cstring>

namespace lanternfly {

namespace {

// More than any plan and its blurs ask for.
constexpr int maxQuads = 64;
constexpr VkDeviceSize quadBytes = sizeof(Quad::vertices);

VkAttachmentLoadOp loadOpFor(FrameEncoder::Start start) {
    switch (start) {
    case FrameEncoder::Start::kept:
        return VK_ATTACHMENT_LOAD_OP_LOAD;
    case FrameEncoder::Start::opaqueBlack:
        return VK_ATTACHMENT_LOAD_OP_CLEAR;
    case FrameEncoder::Start::undefined:
        return VK_ATTACHMENT_LOAD_OP_DONT_CARE;
    }
    return VK_ATTACHMENT_LOAD_OP_LOAD;
}

VkRect2D areaOf(const PixelRect& rect) {
    return {{rect.x0, rect.y0},
            {static_cast<uint32_t>(rect.width()), static_cast<uint32_t>(rect.height())}};
}

} // namespace

Quad fullQuad(bool vDownward) {
    return Quad::padded(0, vDownward);
}

FrameEncoder::FrameEncoder(const VulkanContext& context, const Pipelines& pipelines)
    : _context(context), _pipelines(pipelines),
      _ring(context, maxQuads * quadBytes, VK_BUFFER_USAGE_VERTEX_BUFFER_BIT,
            VulkanBuffer::Access::hostWrites, "lanternfly.quads") {}

void FrameEncoder::begin(VkCommandBuffer commands) {
    _commands = commands;
    _quadCount = 0;
}

void FrameEncoder::beginPass(VulkanImage& target, const PixelRect& area, Start start,
                             const char* label) {
    _context.beginLabel(_commands, label);
    target.use(_commands, ImageUse::drawnTo);
    VkRenderingAttachmentInfo attachment{};
    attachment.sType = VK_STRUCTURE_TYPE_RENDERING_ATTACHMENT_INFO;
    attachment.imageView = target.view();
    attachment.imageLayout = VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL;
    attachment.loadOp = loadOpFor(start);
    attachment.storeOp = VK_ATTACHMENT_STORE_OP_STORE;
    attachment.clearValue.color.float32[3] = 1;
    VkRenderingInfo info{};
    info.sType = VK_STRUCTURE_TYPE_RENDERING_INFO;
    info.renderArea = areaOf(area);
    info.layerCount = 1;
    info.colorAttachmentCount = 1;
    info.pColorAttachments = &attachment;
    vkCmdBeginRendering(_commands, &info);
    const VkViewport viewport{
        0, 0, static_cast<float>(target.width()), static_cast<float>(target.height()), 0, 1};
    vkCmdSetViewport(_commands, 0, 1, &viewport);
}

void FrameEncoder::endPass() {
    vkCmdEndRendering(_commands);
    _context.endLabel(_commands);
}

void FrameEncoder::draw(const PipelineHandle& pipeline, const Quad& quad,
                        const PushedUniforms& uniforms, const PixelRect& rect,
                        VkDescriptorSet picture, VkDescriptorSet secondPicture) {
    if (rect.isEmpty()) return;
    if (_quadCount == maxQuads) throw VulkanError(VK_ERROR_OUT_OF_POOL_MEMORY, "quads of a frame");
    const VkDeviceSize offset = static_cast<VkDeviceSize>(_quadCount++) * quadBytes;
    std::memcpy(_ring.bytes() + offset, quad.vertices.data(), quadBytes);
    prepare(pipeline, uniforms, rect);
    const VkDescriptorSet pictures[] = {picture, secondPicture};
    const uint32_t pictureCount = secondPicture ? 2 : picture ? 1 : 0;
    if (pictureCount > 0)
        vkCmdBindDescriptorSets(_commands, VK_PIPELINE_BIND_POINT_GRAPHICS, _pipelines.layout.get(),
                                0, pictureCount, pictures, 0, nullptr);
    const VkBuffer ring = _ring.get();
    vkCmdBindVertexBuffers(_commands, 0, 1, &ring, &offset);
    vkCmdDraw(_commands, 4, 1, 0, 0);
}

void FrameEncoder::drawStrip(const PipelineHandle& pipeline, VkBuffer vertices, VkDeviceSize offset,
                             int vertexCount, const PushedUniforms& uniforms,
                             const PixelRect& rect) {
    prepare(pipeline, uniforms, rect);
    vkCmdBindVertexBuffers(_commands, 0, 1, &vertices, &offset);
    vkCmdDraw(_commands, static_cast<uint32_t>(vertexCount), 1, 0, 0);
}

void FrameEncoder::prepare(const PipelineHandle& pipeline, const PushedUniforms& uniforms,
                           const PixelRect& rect) {
    vkCmdBindPipeline(_commands, VK_PIPELINE_BIND_POINT_GRAPHICS, pipeline.get());
    vkCmdPushConstants(_commands, _pipelines.layout.get(),
                       VK_SHADER_STAGE_VERTEX_BIT | VK_SHADER_STAGE_FRAGMENT_BIT, 0,
                       sizeof uniforms, &uniforms);
    const VkRect2D scissor = areaOf(rect);
    vkCmdSetScissor(_commands, 0, 1, &scissor);
}

} // namespace lanternfly
