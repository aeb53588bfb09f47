// The 3D layer of one frame: where the model is visible, its soft matte, and the blurred picture of
// what lies behind it.
// Threads: bound.
#pragma once

#include "render/cpu/GaussianBlur.h"
#include "render/cpu/LayerPass.h"
#include "render/cpu/Rows.h"
#include "render/cpu/SoftMatte.h"
#include "render/cpu/VisibleBox.h"

namespace lanternfly {

class SpatialLayer {
public:
    // `output` holds everything behind the model. False when memory is short: the model is then to
    // be drawn without finish.
    bool prepare(const SpatialFinish& finish, const CpuTexture& model, const PixelBuffer& output);
    // Bands from the top downward, after prepare().
    void drawFinished(const SpatialFinish& finish, const CpuTexture& model, Rows rows,
                      PixelBuffer& output);
    // How the model is drawn without finish.
    LayerDraw plain(const SpatialDraw& draw, const CpuTexture& model, FrameSize frame);

private:
    bool captureUnderlay(const PixelBuffer& output, float sigma);

    VisibleBox _box;
    SoftMatte _matte;
    PixelRect _rect; // of the frame; empty: nothing to draw
    bool _isBlurred = false;
    PixelRect _blurRect;
    GaussianBlur _blur;
    PixelBufferRef _capture; // for blurs that read the frame while it is drawn over
};

} // namespace lanternfly
