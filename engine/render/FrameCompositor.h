// Turns each camera frame into one output frame: the camera picture with the slide floating in it
// as a pane of glass. One instance serves one output size.
// Threads: setters and inputs() are safe; composite() is bound to the camera's delivery thread.
#pragma once

#include <atomic>
#include <memory>

#include "base/LockedCell.h"
#include "base/Logger.h"
#include "base/PixelBufferPool.h"
#include "gpu/Device.h"
#include "render/CompositionMode.h"
#include "render/CompositorInputs.h"
#include "render/FrameRenderer.h"

namespace lanternfly {

class FrameCompositor {
public:
    using StrokeBatch = lanternfly::StrokeBatch;

    // Width and height of the output in pixels. Null, after a log line, when the device cannot draw
    // frames of this size.
    static std::shared_ptr<FrameCompositor> create(DeviceRef device, int width, int height);
    ~FrameCompositor();

    const DeviceRef& device() const { return _device; }
    int width() const { return _output.width; }
    int height() const { return _output.height; }

    // Draws one frame of this compositor's size. `cameraBuffer` is BGRA of any size, `swapDarken`
    // (clamped to 0…1) how black the finished frame gets. Null, after a log line, when the camera
    // buffer is of another format or no output buffer is free.
    PixelBufferRef composite(const PixelBufferRef& cameraBuffer, bool mirror,
                             const CompositionMode& mode, float swapDarken);

    // Textures must come from `device`; null takes the layer away.
    void setSlideTexture(TextureRef texture, bool originTopLeft);
    void setAppearance(const OverlayAppearance& appearance);
    void setTransform(const OverlayTransform& transform);
    void setTuning(const VisionOSTuning& tuning);
    void setPinchIndicator(const PinchIndicatorState& state);
    void setTwoHandDiscoverability(const TwoHandDiscoverabilityState& state);
    void setStrokeBatches(std::vector<StrokeBatch> batches);
    // The same without a copy; batches that were shown before cost less.
    void setSharedStrokeBatches(StrokeBatches batches);
    void setDrawingOpacity(float opacity);  // clamped to 0…1
    void setDrawingWidthScale(float scale); // clamped to 0…4
    void setAnnotationTexture(TextureRef texture, bool originTopLeft);
    void setAnnotationOpacity(float opacity); // at least 0
    void setSpatialTexture(TextureRef texture);
    void setSpatialOpacity(float opacity);           // clamped to 0…1
    void setSpatialBackgroundBlurSigma(float sigma); // at least 0
    void setSpatialLevelMatch(float blackFloor, float whiteCeiling, float strength); // each 0…1
    void setSpatialLightWrap(float width, float strength); // 0…0.1 and 0…1
    void setSpatialUnderlayBlurSigma(float sigma);         // clamped to 0…80
    void setSpatialEdgeSoftness(float amount);             // clamped to 0…1
    void setDrawingEnabled(bool isEnabled) { _isDrawingEnabled = isEnabled; }
    bool isDrawingEnabled() const { return _isDrawingEnabled; }

    // A copy of every input, each group consistent in itself.
    CompositorInputs inputs() const;

private:
    FrameCompositor(DeviceRef device, FrameSize output);

    PixelBufferRef drawFrame(const PixelBufferRef& cameraBuffer, bool mirror,
                             const CompositionMode& mode, float swapDarken);

    const DeviceRef _device;
    const FrameSize _output;
    const Logger _log{"FrameCompositor"};

    LockedCell<SlideInput> _slide;
    LockedCell<OverlayAppearance> _appearance;
    LockedCell<OverlayTransform> _transform{OverlayTransform::day4Default};
    LockedCell<VisionOSTuning> _tuning;
    LockedCell<PinchIndicatorState> _pinchIndicator;
    LockedCell<TwoHandDiscoverabilityState> _twoHandDiscoverability;
    LockedCell<StrokeBatches> _strokeBatches{sharedBatches({})};
    LockedCell<float> _drawingOpacity{1};
    LockedCell<float> _drawingWidthScale{1};
    LockedCell<SpatialInput> _spatial;
    LockedCell<AnnotationInput> _annotation;
    std::atomic<bool> _isDrawingEnabled{true};

    // Of the compositing thread.
    std::unique_ptr<PixelBufferPool> _outputPool;
    std::unique_ptr<FrameRenderer> _renderer;
    FrameKernels _kernels;
};

} // namespace lanternfly
