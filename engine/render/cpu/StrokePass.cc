#include "render/cpu/StrokePass.h"

#include <algorithm>

#include "render/cpu/StrokeStrip.h"

namespace lanternfly {

void StrokePass::draw(const StrokesDraw& draw, PixelBuffer& output) {
    const auto [first, end] = hold(draw);
    drawBatches(draw, 0, first, output, nullptr);
    if (first < end) _layer.blendOnto(output);
    drawBatches(draw, end, draw.batches->size(), output, nullptr);
    _last = draw;
}

size_t StrokePass::unchanged(Batches batches, size_t first) const {
    if (!_last.batches || first >= batches.size()) return 0;
    const auto& before = *_last.batches;
    auto same = std::find(before.begin(), before.end(), batches[first]);
    size_t count = 0;
    while (same != before.end() && first + count < batches.size() &&
           *same == batches[first + count]) {
        ++same;
        ++count;
    }
    return count;
}

std::pair<size_t, size_t> StrokePass::hold(const StrokesDraw& draw) {
    const Batches batches(*draw.batches);
    const bool isSameInk = draw.opacity == _last.opacity && draw.widthScale == _last.widthScale;
    size_t first = 0;
    if (!_held.empty()) {
        first = static_cast<size_t>(std::find(batches.begin(), batches.end(), _held.front()) -
                                    batches.begin());
        if (!isSameInk || batches.size() - first < _held.size() ||
            !std::equal(_held.begin(), _held.end(),
                        batches.begin() + static_cast<ptrdiff_t>(first))) {
            _layer.clear();
            _held.clear();
        }
    }
    if (!isSameInk) return {0, 0};
    if (_held.empty()) {
        size_t longest = 0;
        for (size_t i = 0; i < batches.size();) {
            const size_t count = unchanged(batches, i);
            if (count > longest) {
                longest = count;
                first = i;
            }
            i += std::max<size_t>(count, 1);
        }
    }
    const size_t heldEnd = first + _held.size();
    const size_t end = heldEnd + unchanged(batches, heldEnd);
    PixelBuffer* pixels = heldEnd < end ? _layer.pixels() : nullptr;
    if (!pixels) return {first, heldEnd};
    drawBatches(draw, heldEnd, end, *pixels, &_layer);
    _held.insert(_held.end(), batches.begin() + static_cast<ptrdiff_t>(heldEnd),
                 batches.begin() + static_cast<ptrdiff_t>(end));
    return {first, end};
}

void StrokePass::drawBatches(const StrokesDraw& draw, size_t first, size_t end, PixelBuffer& output,
                             InkLayer* layer) {
    for (size_t i = first; i < end; ++i) {
        const StrokeBatch& batch = *(*draw.batches)[i];
        const int vertexCount = drawnVertexCount(batch);
        const StrokeUniforms uniforms = strokeUniforms(draw, batch);
        if (vertexCount < 3 || !(uniforms.color.a > 0)) continue;
        const float2 pixelsPerUnit{uniforms.mvp[0][0] * static_cast<float>(output.width()) / 2,
                                   -uniforms.mvp[1][1] * static_cast<float>(output.height()) / 2};
        drawStrip({batch.vertexBuffer.data(), vertexCount, pixelsPerUnit, uniforms.color,
                   uniforms.widthScale},
                  output, layer);
    }
}

} // namespace lanternfly
