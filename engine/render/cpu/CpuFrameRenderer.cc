#include "render/cpu/CpuFrameRenderer.h"

#include <cstring>

#include <libyuv.h>

#include "gpu/cpu/CpuDevice.h"
#include "render/cpu/BackdropPass.h"
#include "render/cpu/DarkenPass.h"
#include "render/cpu/PanePass.h"
#include "render/cpu/PinchBarPass.h"
#include "render/cpu/ScalePass.h"
#include "render/cpu/TwoHandDotsPass.h"

namespace lanternfly {

namespace {

constexpr int bandRows = 32; // 240 KiB of a 1080p frame: stays in the second-level cache
// Of a frame with ink, whose pieces are prepared anew for each band that they lie in.
constexpr int sharedBandRows = 64;
constexpr int minHalvedSide = 64; // smaller pictures are not halved

bool isSize(const PixelBuffer& buffer, FrameSize size) {
    return buffer.width() == size.width && buffer.height() == size.height;
}

// Without a slide the frame begins black.
void drawSlideBackground(const PixelBuffer* picture, Rows rows, PixelBuffer& output) {
    const auto stride = static_cast<int>(output.strideBytes());
    const int height = rows.y1 - rows.y0;
    if (picture)
        libyuv::ARGBCopy(picture->row(rows.y0), static_cast<int>(picture->strideBytes()),
                         output.row(rows.y0), stride, output.width(), height);
    else
        libyuv::ARGBRect(output.row(rows.y0), stride, 0, 0, output.width(), height, 0xff000000u);
}

TextureView levelFor(const CpuTexture& texture, float2 drawnSizePX) {
    return TextureView(texture.level(
        prefilteredLevel({texture.width(), texture.height()}, texture.levelCount(), drawnSizePX)));
}

} // namespace

CpuFrameRenderer::CpuFrameRenderer(FrameSize output)
    : _output(output), _dither(output.width, output.height),
      _mirroredRow(static_cast<size_t>(output.width) * 4 + 64), _strokes(output) {}

std::string CpuFrameRenderer::draw(const FramePlan& plan, const Picture& picture) {
    constexpr const char* noMemory = "out of memory for a scaled picture";
    Frame frame{plan,
                static_cast<const CpuTexture*>(picture.spatial),
                *picture.output,
                nullptr,
                nullptr,
                {},
                {},
                {},
                false};
    frame.camera = sharpCamera(plan, *picture.camera);
    if (!frame.camera) return noMemory;
    const float2 pixelScale = float2(_output.width, _output.height) /
                              float2(picture.camera->width(), picture.camera->height());
    prepareBlurs(plan, *frame.camera, pixelScale);
    if (plan.background.source == PictureSource::slide) {
        frame.slideBackground = _slideBackground.prepare(
            plan.background, static_cast<const CpuTexture&>(*picture.slide), _output);
        if (!frame.slideBackground) return noMemory;
    }
    if (plan.pane) frame.paneContent = paneContent(*plan.pane, picture);
    if (plan.annotation) {
        const auto& texture = static_cast<const CpuTexture&>(*picture.annotation);
        const AnnotationDraw& draw = *plan.annotation;
        frame.annotation = {
            TextureView(texture.level(0)), draw.opacity, draw.vDownward,
            VisibleBox::inFrame(_annotationBox.of(texture), texture, _output, 0, draw.vDownward)};
    }

    if (plan.spatial) frame.plainModel = _spatial.plain(*plan.spatial, *frame.spatial, _output);
    if (plan.strokes) _strokes.prepare(*plan.strokes);

    // The finishing pass looks at more than a band: what comes after it waits until the whole frame
    // is there. Blurs go through the bands in order.
    const bool hasFinish = plan.spatial && plan.spatial->finish;
    const bool isInOrder = hasFinish || plan.backdrop || plan.background.blurSigma;
    if (hasFinish) {
        forEachBand([&](Rows rows) { drawUpToPane(frame, rows); });
        frame.isSpatialFinished =
            _spatial.prepare(*plan.spatial->finish, *frame.spatial, frame.output);
    }
    if (isInOrder || !plan.strokes)
        forEachBand([&](Rows rows) {
            if (!hasFinish) drawUpToPane(frame, rows);
            drawModelAndAnnotation(frame, rows);
            if (!plan.strokes) drawIndicators(frame, rows);
        });
    if (plan.strokes)
        shareBands([&](Rows rows) {
            if (!isInOrder) {
                drawUpToPane(frame, rows);
                drawModelAndAnnotation(frame, rows);
            }
            _strokes.drawRows(rows, frame.output);
            drawIndicators(frame, rows);
        });
    return {};
}

template <typename Body>
void CpuFrameRenderer::forEachBand(const Body& body) const {
    for (int y = 0; y < _output.height; y += bandRows)
        body(Rows{y, std::min(y + bandRows, _output.height)});
}

template <typename Body>
void CpuFrameRenderer::shareBands(const Body& body) const {
    const int count = (_output.height + sharedBandRows - 1) / sharedBandRows;
    _workers.forEach(static_cast<size_t>(count), [&](size_t band, size_t) {
        const int y = static_cast<int>(band) * sharedBandRows;
        body(Rows{y, std::min(y + sharedBandRows, _output.height)});
    });
}

void CpuFrameRenderer::drawUpToPane(const Frame& frame, Rows rows) {
    const FramePlan& plan = frame.plan;
    drawBackground(plan.background, frame, rows);
    if (plan.backdrop) drawBackdrop(*plan.backdrop, rows, frame.output);
    if (plan.pane) drawPane(*plan.pane, frame.paneContent, _dither, rows, frame.output);
}

void CpuFrameRenderer::drawModelAndAnnotation(const Frame& frame, Rows rows) {
    const FramePlan& plan = frame.plan;
    if (plan.spatial && frame.isSpatialFinished)
        _spatial.drawFinished(*plan.spatial->finish, *frame.spatial, rows, frame.output);
    else if (plan.spatial)
        drawLayer(frame.plainModel, rows, frame.output);
    if (plan.annotation) drawLayer(frame.annotation, rows, frame.output);
}

void CpuFrameRenderer::drawIndicators(const Frame& frame, Rows rows) const {
    const FramePlan& plan = frame.plan;
    if (plan.pinchBar) drawPinchBar(*plan.pinchBar, rows, frame.output);
    if (plan.twoHandDots) drawTwoHandDots(*plan.twoHandDots, rows, frame.output);
    if (plan.darkenAlpha) darken(*plan.darkenAlpha, rows, frame.output);
}

// Blurs work on a picture of the output's size; a sharp background is scaled on its way.
const PixelBuffer* CpuFrameRenderer::sharpCamera(const FramePlan& plan, const PixelBuffer& camera) {
    const bool isBlurred =
        (plan.background.source == PictureSource::camera && plan.background.blurSigma) ||
        plan.backdrop;
    if (isSize(camera, _output) || !isBlurred) return &camera;
    if (!_scaledCamera) _scaledCamera = PixelBuffer::create(_output.width, _output.height);
    if (!_scaledCamera) return nullptr;
    drawScaled(TextureView(camera), false, {0, _output.height}, *_scaledCamera);
    return _scaledCamera.get();
}

void CpuFrameRenderer::prepareBlurs(const FramePlan& plan, const PixelBuffer& camera,
                                    float2 pixelScale) {
    if (plan.background.source == PictureSource::camera && plan.background.blurSigma) {
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

// A mirrored camera needs no mirrored copy of its own: the pane's u runs leftward.
TextureView CpuFrameRenderer::paneContent(const PaneDraw& draw, const Picture& picture) {
    if (draw.content == PictureSource::slide)
        return levelFor(static_cast<const CpuTexture&>(*picture.slide), draw.drawnSizePX);
    const PixelBuffer* camera = picture.camera;
    int levelCount = 1;
    for (int side = std::min(camera->width(), camera->height()); side >= minHalvedSide; side /= 2)
        ++levelCount;
    const int level =
        prefilteredLevel({camera->width(), camera->height()}, levelCount, draw.drawnSizePX);
    if (_smallCameras.size() < static_cast<size_t>(level))
        _smallCameras.resize(static_cast<size_t>(level));
    for (int i = 0; i < level; ++i) {
        const int width = std::max(camera->width() / 2, 1);
        const int height = std::max(camera->height() / 2, 1);
        PixelBufferRef& half = _smallCameras[static_cast<size_t>(i)];
        if (!half || !isSize(*half, {width, height})) half = PixelBuffer::create(width, height);
        if (!half) break;
        libyuv::ARGBScale(camera->data(), static_cast<int>(camera->strideBytes()), camera->width(),
                          camera->height(), half->data(), static_cast<int>(half->strideBytes()),
                          width, height, libyuv::kFilterBox);
        camera = half.get();
    }
    return TextureView(*camera);
}

void CpuFrameRenderer::drawBackground(const BackgroundDraw& draw, const Frame& frame, Rows rows) {
    PixelBuffer& output = frame.output;
    if (draw.source != PictureSource::camera) {
        drawSlideBackground(frame.slideBackground, rows, output);
        return;
    }
    const PixelBuffer& camera = *frame.camera;
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
