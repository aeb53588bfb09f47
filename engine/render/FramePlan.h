// What one output frame consists of: which passes, with which uniforms, in which pixels. Decided
// here once, drawn by a FrameRenderer.
// Threads: value.
#pragma once

#include <array>
#include <optional>

#include "render/BlurKernelCache.h"
#include "render/CompositionMode.h"
#include "render/CompositorInputs.h"
#include "render/PaneGeometry.h"
#include "render/Uniforms.h"

namespace lanternfly {

inline constexpr float minVisible = 0.001f;  // a layer at or below it is not drawn
inline constexpr float minBlurSigma = 0.5f;  // blurs below it are skipped
inline constexpr float maxBlurSigma = 256.f; // beyond it a frame is one colour

struct FrameSize {
    int width = 1, height = 1;
    friend bool operator==(const FrameSize&, const FrameSize&) = default;
};

// What is asked for beside the inputs.
struct FrameRequest {
    FrameSize output;
    FrameSize camera;
    bool mirror = false; // the camera, left to right, and with it where the pane is
    CompositionMode mode;
    float swapDarken = 0; // clamped to 0…1
};

enum class PictureSource { camera, slide };

struct BackgroundDraw {
    // Absent: the frame is black.
    std::optional<PictureSource> source;
    bool mirror = false;            // the camera
    std::optional<float> blurSigma; // in pixels of the source; absent: sharp
    Quad quad;                      // in clip space; u and v 0…1 over the source
    PixelRect rect;                 // that the quad covers; black beyond it
    float2 drawnSizePX{0};          // of the whole quad
};

struct PanePlace {
    float4x4 matrix{1};
    Quad quad;
    PixelToPane toPane; // what a renderer without vertex stage needs
    PixelRect rect;     // no pixel outside is touched
};

struct BackdropDraw {
    PanePlace place;
    BackdropUniforms uniforms;
    float blurSigma = 0; // in camera pixels
};

struct PaneDraw {
    PanePlace place;
    SlideUniforms uniforms;
    // Width and height of the pane in the frame, before the tilt; how far the content is shrunk.
    float2 drawnSizePX{0};
    // A mirrored camera has its u run leftward.
    PictureSource content = PictureSource::slide;
};

// What the finishing pass adds to a plainly drawn model.
struct SpatialFinish {
    SpatialUniforms uniforms;
    std::optional<float> underlayBlurSigma; // in output pixels, of the frame so far; absent: sharp
};

struct SpatialDraw { // over the whole frame, v downward
    float opacity = 1;
    std::optional<SpatialFinish> finish;
};

struct AnnotationDraw { // over the whole frame
    float opacity = 1;
    bool vDownward = false;
};

struct StrokesDraw {
    StrokeBatches batches;
    float opacity = 1;
    float widthScale = 1;
};

struct TwoHandDotsDraw {
    TwoHandDotsUniforms uniforms;
    // No pixel outside is touched. They never overlap, so that dots do not add up; either may be
    // empty.
    std::array<PixelRect, 2> rects;
};

struct PinchBarDraw {
    PanePlace place;
    PinchBarUniforms uniforms;
};

// Drawn in the order of the fields.
struct FramePlan {
    BackgroundDraw background;
    std::optional<BackdropDraw> backdrop;
    std::optional<PaneDraw> pane;
    std::optional<SpatialDraw> spatial;
    std::optional<AnnotationDraw> annotation;
    std::optional<StrokesDraw> strokes;
    std::optional<PinchBarDraw> pinchBar;
    std::optional<TwoHandDotsDraw> twoHandDots;
    std::optional<float> darkenAlpha; // of black over the whole frame
};

struct FrameKernels {
    BlurKernelCache overlay;
    BlurKernelCache backdrop;
    BlurKernelCache underlay;
};

// Pure but for the kernel caches, which remember the sigma of the last frame. Values that are not
// finite, and panes too small or too thin to be seen, drop their pass.
FramePlan planFrame(const CompositorInputs& inputs, const FrameRequest& request,
                    FrameKernels& kernels);

// How one batch of the strokes is drawn.
StrokeUniforms strokeUniforms(const StrokesDraw& draw, const StrokeBatch& batch);
// Of the batch's vertices; 0 when it is empty or its colour is no colour.
int drawnVertexCount(const StrokeBatch& batch);

// The root of the sum of squares of the two blurs of the background.
float backgroundBlurSigma(float appearanceBlur, float spatialBackgroundBlurSigma);

// Which of `levelCount` halved sizes of a picture to sample for a pane of the drawn size: the
// smallest one that is not smaller than the pane in either direction.
int prefilteredLevel(FrameSize texture, int levelCount, float2 drawnSizePX);

} // namespace lanternfly
