#include "render/vulkan/LayerDraws.h"

#include <cstring>

namespace lanternfly {

namespace {

constexpr size_t vertexBytes = StrokeBatch::floatsPerVertex * sizeof(float);
constexpr VkDeviceSize minStrokeBytes = 1u << 20;

} // namespace

void LayerDraws::drawPicture(FrameEncoder& encoder, VkDescriptorSet picture, float opacity,
                             bool vDownward) const {
    PushedUniforms uniforms;
    uniforms.params.x = opacity;
    encoder.draw(encoder.pipelines().annotation, fullQuad(vDownward), uniforms, _wholeFrame,
                 picture);
}

void LayerDraws::drawStrokes(FrameEncoder& encoder, const StrokesDraw& draw) {
    size_t vertexCount = 0;
    for (const StrokeBatchRef& batch : *draw.batches)
        vertexCount += static_cast<size_t>(drawnVertexCount(*batch));
    if (vertexCount == 0) return;
    // Twice what is needed: strokes grow from frame to frame.
    if (_strokeVertices.sizeBytes() < vertexCount * vertexBytes)
        _strokeVertices.growTo(_context, std::max(2 * vertexCount * vertexBytes, minStrokeBytes),
                               VK_BUFFER_USAGE_VERTEX_BUFFER_BIT, VulkanBuffer::Access::hostWrites,
                               "lanternfly.strokes");
    const bool isUploaded = draw.batches == _uploaded;
    _uploaded = draw.batches;
    size_t offset = 0;
    for (const StrokeBatchRef& batch : *draw.batches) {
        const int count = drawnVertexCount(*batch);
        if (count == 0) continue;
        const size_t bytes = static_cast<size_t>(count) * vertexBytes;
        if (!isUploaded)
            std::memcpy(_strokeVertices.bytes() + offset, batch->vertexBuffer.data(), bytes);
        const StrokeUniforms stroke = strokeUniforms(draw, *batch);
        PushedUniforms uniforms;
        uniforms.mvp = stroke.mvp;
        uniforms.params = stroke.color;
        uniforms.params2.x = stroke.widthScale;
        encoder.drawStrip(encoder.pipelines().stroke, _strokeVertices.get(), offset, count,
                          uniforms, _wholeFrame);
        offset += bytes;
    }
}

void LayerDraws::drawPinchBar(FrameEncoder& encoder, const PinchBarDraw& draw) const {
    PushedUniforms uniforms;
    uniforms.mvp = draw.place.matrix;
    uniforms.params = draw.uniforms.params;
    encoder.draw(encoder.pipelines().pinchIndicator, draw.place.quad, uniforms, draw.place.rect);
}

void LayerDraws::drawTwoHandDots(FrameEncoder& encoder, const TwoHandDotsDraw& draw) const {
    if (!encoder.pipelines().twoHandDots) return;
    PushedUniforms uniforms;
    uniforms.params = draw.uniforms.params;
    uniforms.params2 = draw.uniforms.params2;
    uniforms.params3 = draw.uniforms.tint;
    for (const PixelRect& rect : draw.rects)
        encoder.draw(encoder.pipelines().twoHandDots, fullQuad(), uniforms, rect);
}

} // namespace lanternfly
