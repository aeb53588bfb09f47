#include "render/cpu/CpuFrameRenderer.h"

#include <cstring>

#include <libyuv.h>

#include "gpu/cpu/CpuDevice.h"
#include "render/cpu/BackdropPass.h"
#include "render/cpu/PanePass.h"
#include "render/cpu/PinchBarPass.h"
#include "render/cpu/ScalePass.h"

namespace lanternfly {

namespace {

constexpr int bandRows = 32; // 240 KiB of a 1080p frame: stays in the second-level cache
constexpr int vectorPixels = 16;

bool isSize(const PixelBuffer& buffer, FrameSize size) {
    return buffer.width() == size.width && buffer.height() == size.height;
}

// Rectangles of rows read by vector code begin and end at whole vectors.
PixelRect inWholeVectors(PixelRect rect, int width) {
    rect.x0 = rect.x0 / vectorPixels * vectorPixels;
    rect.x1 = std::min((rect.x1 + vectorPixels - 1) / vectorPixels * vectorPixels, width);
    return rect;
}

TextureView levelFor(const CpuTexture& texture, float2 drawnSizePX) {
    return TextureView(texture.level(
        prefilteredLevel({texture.width(), texture.height()}, texture.levelCount(), drawnSizePX)));
}

} // namespace

CpuFrameRenderer::CpuFrameRenderer(FrameSize output)
    : _output(output), _dither(output.width, output.height),
      _mirroredRow(static_cast<size_t>(output.width) * 4 + 64) {}

std::string CpuFrameRenderer::draw(const FramePlan& plan, const Picture& picture) {
    const PixelBuffer& camera = *picture.camera;
    PixelBuffer& output = *picture.output;
    const PixelBuffer* sharp = sharpCamera(plan, camera);
    if (!sharp) return "out of memory for a scaled camera picture";
    const float2 pixelScale(static_cast<float>(_output.width) / static_cast<float>(camera.width()),
                            static_cast<float>(_output.height) /
                                static_cast<float>(camera.height()));
    prepareBlurs(plan, *sharp, pixelScale);
    TextureView slide;
    if (plan.pane)
        slide = levelFor(static_cast<const CpuTexture&>(*picture.slide), plan.pane->drawnSizePX);
    for (int y = 0; y < _output.height; y += bandRows) {
        const Rows rows{y, std::min(y + bandRows, _output.height)};
        drawBackground(plan.background, *sharp, rows, output);
        if (plan.backdrop) drawBackdrop(*plan.backdrop, rows, output);
        if (plan.pane) drawPane(*plan.pane, slide, _dither, rows, output);
        if (plan.pinchBar) drawPinchBar(*plan.pinchBar, rows, output);
    }
    return {};
}

// Blurs work on a picture of the output's size; a sharp background is scaled on its way.
const PixelBuffer* CpuFrameRenderer::sharpCamera(const FramePlan& plan, const PixelBuffer& camera) {
    const bool isBlurred = plan.background.blurSigma || plan.backdrop;
    if (isSize(camera, _output) || !isBlurred) return &camera;
    if (!_scaledCamera) _scaledCamera = PixelBuffer::create(_output.width, _output.height);
    if (!_scaledCamera) return nullptr;
    drawScaled(TextureView(camera), false, {0, _output.height}, *_scaledCamera);
    return _scaledCamera.get();
}

void CpuFrameRenderer::prepareBlurs(const FramePlan& plan, const PixelBuffer& camera,
                                    float2 pixelScale) {
    if (plan.background.blurSigma) {
        const float2 sigma = *plan.background.blurSigma * pixelScale;
        _backgroundBlur.prepare(camera, {0, 0, _output.width, _output.height}, sigma.x, sigma.y);
    }
    if (plan.backdrop) {
        const float2 sigma = plan.backdrop->blurSigma * pixelScale;
        _backdropRect = inWholeVectors(plan.backdrop->place.rect, _output.width);
        PixelRect source = _backdropRect;
        if (plan.background.mirror) {
            source.x0 = _output.width - _backdropRect.x1;
            source.x1 = _output.width - _backdropRect.x0;
        }
        _backdropBlur.prepare(camera, source, sigma.x, sigma.y);
    }
}

void CpuFrameRenderer::drawBackground(const BackgroundDraw& draw, const PixelBuffer& camera,
                                      Rows rows, PixelBuffer& output) {
    const auto place = [&](const uint8_t* pixels, int stride, int y, int height) {
        const auto outputStride = static_cast<int>(output.strideBytes());
        if (draw.mirror)
            libyuv::ARGBMirror(pixels, stride, output.row(y), outputStride, _output.width, height);
        else
            libyuv::ARGBCopy(pixels, stride, output.row(y), outputStride, _output.width, height);
    };
    if (draw.blurSigma) {
        for (int y = rows.y0; y < rows.y1; ++y)
            place(_backgroundBlur.row(y), 0, y, 1);
    } else if (isSize(camera, _output)) {
        place(camera.row(rows.y0), static_cast<int>(camera.strideBytes()), rows.y0,
              rows.y1 - rows.y0);
    } else {
        drawScaled(TextureView(camera), draw.mirror, rows, output);
    }
}

void CpuFrameRenderer::drawBackdrop(const BackdropDraw& draw, Rows rows, PixelBuffer& output) {
    rows = rows.in(draw.place.rect);
    const bool isMirrored = draw.uniforms.params.z > 0.5f;
    for (int y = rows.y0; y < rows.y1; ++y) {
        const uint8_t* blurred = _backdropBlur.row(y);
        if (isMirrored) {
            libyuv::ARGBMirror(blurred, 0, _mirroredRow.data(), 0, _backdropRect.width(), 1);
            blurred = _mirroredRow.data();
        }
        drawBackdropRow(draw, blurred, _backdropRect.x0, y, output.row(y));
    }
}

} // namespace lanternfly
