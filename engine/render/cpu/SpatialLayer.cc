#include "render/cpu/SpatialLayer.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "render/cpu/SpatialPass.h"

namespace lanternfly {

namespace {

FrameSize sizeOf(const PixelBuffer& pixels) {
    return {pixels.width(), pixels.height()};
}

} // namespace

bool SpatialLayer::prepare(const SpatialFinish& finish, const CpuTexture& model,
                           const PixelBuffer& output) {
    const bool isSoft = usesSoftMatte(finish.uniforms);
    const float wrapWidth = finish.uniforms.wrapParams.x;
    _rect = VisibleBox::inFrame(_box.of(model), model, sizeOf(output),
                                isSoft ? SoftMatte::reachTexels(model, wrapWidth) : 0, true);
    _isBlurred = false;
    if (_rect.isEmpty()) return true;
    if (isSoft) _matte.prepare(model, sizeOf(output), _rect, wrapWidth);
    _isBlurred = finish.underlayBlurSigma.has_value();
    return !_isBlurred || captureUnderlay(output, *finish.underlayBlurSigma);
}

bool SpatialLayer::captureUnderlay(const PixelBuffer& output, float sigma) {
    _blurRect = inWholeVectors(_rect, output.width());
    _blur.prepare(output, _blurRect, sigma, sigma);
    if (!_blur.readsSourceLate()) return true;
    if (!_capture) _capture = PixelBuffer::create(output.width(), output.height());
    if (!_capture) return false;
    const int reach = _blur.radiusY();
    const int y1 = std::min(_rect.y1 + reach, output.height());
    for (int y = std::max(_rect.y0 - reach, 0); y < y1; ++y)
        std::memcpy(_capture->row(y), output.row(y), static_cast<size_t>(output.width()) * 4);
    _blur.prepare(*_capture, _blurRect, sigma, sigma);
    return true;
}

void SpatialLayer::drawFinished(const SpatialFinish& finish, const CpuTexture& model, Rows rows,
                                PixelBuffer& output) {
    rows = rows.in(_rect);
    SpatialRow row{TextureView(model.level(0)), finish.uniforms, nullptr, nullptr, _rect, 0};
    const bool isSoft = usesSoftMatte(finish.uniforms);
    const ptrdiff_t firstByte = ptrdiff_t{4} * (_rect.x0 / vectorPixels * vectorPixels);
    for (row.y = rows.y0; row.y < rows.y1; ++row.y) {
        row.matte = isSoft ? _matte.row(row.y) : nullptr;
        row.behind = _isBlurred ? _blur.row(row.y) : output.row(row.y) + firstByte;
        drawSpatialRow(row, output);
    }
}

LayerDraw SpatialLayer::plain(const SpatialDraw& draw, const CpuTexture& model, FrameSize frame) {
    return {TextureView(model.level(0)), draw.opacity, true,
            VisibleBox::inFrame(_box.of(model), model, frame, 0, true)};
}

} // namespace lanternfly
