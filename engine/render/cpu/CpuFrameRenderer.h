// Draws frames with the processor's vector instructions: the camera arrives by copy, every other
// pass touches only its own rectangle.
// Threads: bound.
#pragma once

#include "render/FrameRenderer.h"
#include "render/cpu/DitherTable.h"
#include "render/cpu/GaussianBlur.h"
#include "render/cpu/Rows.h"

namespace lanternfly {

class CpuFrameRenderer final : public FrameRenderer {
public:
    explicit CpuFrameRenderer(FrameSize output);

    std::string draw(const FramePlan& plan, const Picture& picture) override;

private:
    const PixelBuffer* sharpCamera(const FramePlan& plan, const PixelBuffer& camera);
    void prepareBlurs(const FramePlan& plan, const PixelBuffer& camera, float2 pixelScale);
    void drawBackground(const BackgroundDraw& draw, const PixelBuffer& camera, Rows rows,
                        PixelBuffer& output);
    void drawBackdrop(const BackdropDraw& draw, Rows rows, PixelBuffer& output);

    const FrameSize _output;
    const DitherTable _dither;
    GaussianBlur _backgroundBlur;
    GaussianBlur _backdropBlur;
    PixelRect _backdropRect; // of the output, in whole vectors
    // The camera at output size, when it comes in another one and is to be blurred.
    PixelBufferRef _scaledCamera;
    std::vector<uint8_t> _mirroredRow;
};

} // namespace lanternfly
