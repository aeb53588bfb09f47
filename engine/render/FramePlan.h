// What one output frame consists of: which passes, with which uniforms, in which pixels. Decided
// here once, drawn by a FrameRenderer.
// Threads: value.
#pragma once

#include <optional>

#include "render/BlurKernelCache.h"
#include "render/CompositorInputs.h"
#include "render/PaneGeometry.h"
#include "render/Uniforms.h"

namespace lanternfly {

inline constexpr float minVisible = 0.001f;  // a layer at or below it is not drawn
inline constexpr float minBlurSigma = 0.5f;  // blurs below it are skipped
inline constexpr float maxBlurSigma = 256.f; // beyond it a frame is one colour

struct FrameSize {
    int width = 1, height = 1;
};

struct BackgroundDraw {
    bool mirror = false;
    std::optional<float> blurSigma; // in camera pixels; absent: sharp
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
    // Width and height of the pane in the frame, before the tilt; how far the slide is shrunk.
    float2 drawnSizePX{0};
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
    std::optional<PinchBarDraw> pinchBar;
};

struct FrameKernels {
    BlurKernelCache overlay;
    BlurKernelCache backdrop;
};

// Pure but for the kernel caches, which remember the sigma of the last frame. Values that are not
// finite, and panes too small or too thin to be seen, drop their pass.
FramePlan planFrame(const CompositorInputs& inputs, FrameSize output, bool mirror,
                    FrameKernels& kernels);

// The root of the sum of squares of the two blurs of the background.
float backgroundBlurSigma(float appearanceBlur, float spatialBackgroundBlurSigma);

// Which of `levelCount` halved sizes of a texture to sample for a pane of the drawn size: the
// smallest one that is not smaller than the pane in either direction.
int prefilteredLevel(FrameSize texture, int levelCount, float2 drawnSizePX);

} // namespace lanternfly
