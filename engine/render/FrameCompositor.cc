#include "render/FrameCompositor.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "diagnostics/PerfSignposts.h"

namespace lanternfly {

namespace {

constexpr float unbounded = std::numeric_limits<float>::infinity();

// A value that is not a number becomes the lower end.
float clamped(float value, float low, float high) {
    return value > low ? std::min(value, high) : low;
}

bool isOf(const Texture* texture, const DeviceRef& device) {
    return texture && &texture->device() == device.get();
}

} // namespace

FrameCompositor::FrameCompositor(DeviceRef device, FrameSize output)
    : _device(std::move(device)), _output(output) {}

FrameCompositor::~FrameCompositor() = default;

std::shared_ptr<FrameCompositor> FrameCompositor::create(DeviceRef device, int width, int height) {
    if (!device) return nullptr;
    std::shared_ptr<FrameCompositor> compositor(
        new FrameCompositor(std::move(device), {width, height}));
    compositor->_outputPool = PixelBufferPool::create(width, height, PixelFormat::bgra8);
    if (!compositor->_outputPool) return nullptr;
    compositor->_renderer = makeFrameRenderer(compositor->_device, compositor->_output);
    if (!compositor->_renderer) return nullptr;
    return compositor;
}

PixelBufferRef FrameCompositor::composite(const PixelBufferRef& cameraBuffer, bool mirror,
                                          const CompositionMode& mode, float swapDarken) {
    return PerfSignposts::interval(PerfSignposts::Category::compositorComposite, "composite", [&] {
        return drawFrame(cameraBuffer, mirror, mode, clamped(swapDarken, 0, 1));
    });
}

PixelBufferRef FrameCompositor::drawFrame(const PixelBufferRef& cameraBuffer, bool mirror,
                                          const CompositionMode& mode, float swapDarken) {
    if (!cameraBuffer || cameraBuffer->format() != PixelFormat::bgra8) {
        _log.error("failed to wrap camera buffer as MTLTexture");
        return nullptr;
    }
    const auto taken = _outputPool->take();
    if (!taken.buffer) {
        _log.error("output pool exhausted: {}", static_cast<int>(taken.status));
        return nullptr;
    }
    CompositorInputs frame = inputs();
    for (TextureRef* texture :
         {&frame.slide.texture, &frame.spatial.texture, &frame.annotation.texture})
        if (!isOf(texture->get(), _device)) *texture = nullptr;
    const FrameSize camera{cameraBuffer->width(), cameraBuffer->height()};
    const FramePlan plan = planFrame(frame, {_output, camera, mirror, mode, swapDarken}, _kernels);
    const std::string error =
        _renderer->draw(plan, {cameraBuffer.get(), frame.slide.texture.get(), taken.buffer.get(),
                               frame.spatial.texture.get(), frame.annotation.texture.get()});
    if (!error.empty()) _log.error("composite command buffer failed: {}", error);
    return taken.buffer;
}

void FrameCompositor::setSlideTexture(TextureRef texture, bool originTopLeft) {
    _slide.set({std::move(texture), originTopLeft});
}

void FrameCompositor::setAppearance(const OverlayAppearance& appearance) {
    _appearance.set(appearance);
}

void FrameCompositor::setTransform(const OverlayTransform& transform) {
    _transform.set(transform);
}

void FrameCompositor::setTuning(const VisionOSTuning& tuning) {
    _tuning.set(tuning);
}

void FrameCompositor::setPinchIndicator(const PinchIndicatorState& state) {
    _pinchIndicator.set(state);
}

void FrameCompositor::setTwoHandDiscoverability(const TwoHandDiscoverabilityState& state) {
    _twoHandDiscoverability.set(state);
}

void FrameCompositor::setStrokeBatches(std::vector<StrokeBatch> batches) {
    setSharedStrokeBatches(sharedBatches(std::move(batches)));
}

void FrameCompositor::setSharedStrokeBatches(StrokeBatches batches) {
    _strokeBatches.set(batches ? std::move(batches) : sharedBatches({}));
}

void FrameCompositor::setDrawingOpacity(float opacity) {
    _drawingOpacity.set(clamped(opacity, 0, 1));
}

void FrameCompositor::setDrawingWidthScale(float scale) {
    _drawingWidthScale.set(clamped(scale, 0, 4));
}

void FrameCompositor::setAnnotationTexture(TextureRef texture, bool originTopLeft) {
    _annotation.withLock([&](AnnotationInput& annotation) {
        annotation.texture.swap(texture); // the old one dies after the lock is released
        annotation.originTopLeft = originTopLeft;
    });
}

void FrameCompositor::setAnnotationOpacity(float opacity) {
    _annotation.withLock([opacity](AnnotationInput& annotation) {
        annotation.opacity = clamped(opacity, 0, unbounded);
    });
}

void FrameCompositor::setSpatialTexture(TextureRef texture) {
    _spatial.withLock([&](SpatialInput& spatial) { spatial.texture.swap(texture); });
}

void FrameCompositor::setSpatialOpacity(float opacity) {
    _spatial.withLock(
        [opacity](SpatialInput& spatial) { spatial.opacity = clamped(opacity, 0, 1); });
}

void FrameCompositor::setSpatialBackgroundBlurSigma(float sigma) {
    _spatial.withLock([sigma](SpatialInput& spatial) {
        spatial.backgroundBlurSigma = clamped(sigma, 0, unbounded);
    });
}

void FrameCompositor::setSpatialLevelMatch(float blackFloor, float whiteCeiling, float strength) {
    _spatial.withLock([&](SpatialInput& spatial) {
        spatial.blackFloor = clamped(blackFloor, 0, 1);
        spatial.whiteCeiling = clamped(whiteCeiling, 0, 1);
        spatial.levelStrength = clamped(strength, 0, 1);
    });
}

void FrameCompositor::setSpatialLightWrap(float width, float strength) {
    _spatial.withLock([&](SpatialInput& spatial) {
        spatial.lightWrapWidth = clamped(width, 0, 0.1f);
        spatial.lightWrapStrength = clamped(strength, 0, 1);
    });
}

void FrameCompositor::setSpatialUnderlayBlurSigma(float sigma) {
    _spatial.withLock(
        [sigma](SpatialInput& spatial) { spatial.underlayBlurSigma = clamped(sigma, 0, 80); });
}

void FrameCompositor::setSpatialEdgeSoftness(float amount) {
    _spatial.withLock(
        [amount](SpatialInput& spatial) { spatial.edgeSoftness = clamped(amount, 0, 1); });
}

CompositorInputs FrameCompositor::inputs() const {
    return {.slide = _slide.get(),
            .appearance = _appearance.get(),
            .transform = _transform.get(),
            .tuning = _tuning.get(),
            .pinchIndicator = _pinchIndicator.get(),
            .twoHandDiscoverability = _twoHandDiscoverability.get(),
            .spatial = _spatial.get(),
            .annotation = _annotation.get(),
            .strokeBatches = _strokeBatches.get(),
            .drawingOpacity = _drawingOpacity.get(),
            .drawingWidthScale = _drawingWidthScale.get(),
            .isDrawingEnabled = _isDrawingEnabled};
}

} // namespace lanternfly
