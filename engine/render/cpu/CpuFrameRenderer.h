// Draws frames with the processor's vector instructions: the camera arrives by copy, every other
// pass touches only its own rectangle.
// Threads: bound.
#pragma once

#include "base/WorkerPool.h"
#include "render/FrameRenderer.h"
#include "render/cpu/DitherTable.h"
#include "render/cpu/GaussianBlur.h"
#include "render/cpu/LayerPass.h"
#include "render/cpu/Rows.h"
#include "render/cpu/SlideBackground.h"
#include "render/cpu/SpatialLayer.h"
#include "render/cpu/StrokePass.h"
#include "render/cpu/TextureView.h"

namespace lanternfly {

class CpuFrameRenderer final : public FrameRenderer {
public:
    explicit CpuFrameRenderer(FrameSize output);

    std::string draw(const FramePlan& plan, const Picture& picture) override;

private:
    // One frame being drawn.
    struct Frame {
        const FramePlan& plan;
        const CpuTexture* spatial;
        PixelBuffer& output;
        const PixelBuffer* camera; // at output size where a blur needs it so
        const PixelBuffer* slideBackground;
        TextureView paneContent;
        LayerDraw plainModel;
        LayerDraw annotation;
        bool isSpatialFinished;
    };
    template <typename Body>
    void forEachBand(const Body& body) const; // from the top downward
    // By several threads: ink is worth waking them, a frame without it hardly.
    template <typename Body>
    void shareBands(const Body& body) const;
    void drawUpToPane(const Frame& frame, Rows rows);
    void drawModelAndAnnotation(const Frame& frame, Rows rows);
    void drawIndicators(const Frame& frame, Rows rows) const;

    const PixelBuffer* sharpCamera(const FramePlan& plan, const PixelBuffer& camera);
    void prepareBlurs(const FramePlan& plan, const PixelBuffer& camera, float2 pixelScale);
    TextureView paneContent(const PaneDraw& draw, const Picture& picture);
    void drawBackground(const BackgroundDraw& draw, const Frame& frame, Rows rows);
    void drawBackdrop(const BackdropDraw& draw, Rows rows, PixelBuffer& output);

    const FrameSize _output;
    // Begun with the renderer: threads have the priority of who begins them.
    WorkerPool& _workers = WorkerPool::shared();
    const DitherTable _dither;
    GaussianBlur _backgroundBlur;
    GaussianBlur _backdropBlur;
    PixelRect _backdropRect; // of the output, in whole vectors
    // The camera at output size, when it comes in another one and is to be blurred.
    PixelBufferRef _scaledCamera;
    std::vector<uint8_t> _mirroredRow;
    // The camera in half, quarter, … size, for a pane that shows it.
    std::vector<PixelBufferRef> _smallCameras;
    SlideBackground _slideBackground;
    SpatialLayer _spatial;
    VisibleBox _annotationBox;
    StrokePass _strokes;
};

} // namespace lanternfly
