#include "render/cpu/InkStrips.h"

#include <algorithm>

#include "base/WorkerPool.h"

namespace lanternfly {

void InkStrips::assign(const StrokesDraw& draw, size_t firstLeftOut, size_t endLeftOut,
                       FrameSize frame) {
    const auto& batches = *draw.batches;
    _strips.assign(batches.size(), {});
    _toCut.clear();
    size_t ribCount = 0;
    for (size_t i = 0; i < batches.size(); ++i) {
        if (i >= firstLeftOut && i < endLeftOut) continue;
        const StrokeBatch& batch = *batches[i];
        const int vertexCount = drawnVertexCount(batch);
        const StrokeUniforms uniforms = strokeUniforms(draw, batch);
        if (vertexCount < 3 || !(uniforms.color.a > 0)) continue;
        const float2 pixelsPerUnit{uniforms.mvp[0][0] * static_cast<float>(frame.width) / 2,
                                   -uniforms.mvp[1][1] * static_cast<float>(frame.height) / 2};
        _strips[i].strip = {batch.vertexBuffer.data(), vertexCount, pixelsPerUnit, uniforms.color,
                            uniforms.widthScale,       batch.isLean};
        _toCut.push_back(&_strips[i]);
        ribCount += static_cast<size_t>(vertexCount) / 2;
    }
    if (_pieces.size() < ribCount) _pieces.resize(ribCount);
    StripPiece* pieces = _pieces.data();
    for (Strip* strip : _toCut) {
        strip->pieces = pieces;
        pieces += strip->strip.vertexCount / 2;
    }
    WorkerPool::shared().forEach(_toCut.size(),
                                 [&](size_t part, size_t) { cut(*_toCut[part], frame.height); });
}

void InkStrips::cut(Strip& strip, int frameHeight) {
    strip.pieceCount = cutStrip(strip.strip, frameHeight, strip.pieces);
    strip.rows = {frameHeight, 0};
    if (strip.strip.vertexCount % 2 != 0) strip.rows = {0, frameHeight}; // one triangle more
    for (size_t i = 0; i < strip.pieceCount; ++i) {
        strip.rows.y0 = std::min(strip.rows.y0, strip.pieces[i].rows.y0);
        strip.rows.y1 = std::max(strip.rows.y1, strip.pieces[i].rows.y1);
    }
}

void InkStrips::draw(size_t first, size_t end, Rows rows, PixelBuffer& output,
                     InkLayer* layer) const {
    for (size_t i = first; i < end; ++i) {
        const Strip& strip = _strips[i];
        if (!strip.rows.in(rows).isEmpty())
            drawStrip(strip.strip, {strip.pieces, strip.pieceCount}, rows, output, layer);
    }
}

} // namespace lanternfly
