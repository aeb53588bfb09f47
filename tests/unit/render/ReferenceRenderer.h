// The picture that a planned frame must give: every pixel of the frame by its formula, in double
// precision, one after another. Slow and plain on purpose; shares no code with a renderer.
// Threads: value.
#pragma once

#include "base/PixelBuffer.h"
#include "render/FramePlan.h"

namespace lanternfly::test {

struct ReferencePictures {
    const PixelBuffer& camera; // of the output's size
    FrameSize output;
    // The levels to sample; null where the plan has no use for them.
    const PixelBuffer* slideBackground = nullptr;
    const PixelBuffer* paneContent = nullptr;
    const PixelBuffer* spatial = nullptr;
    const PixelBuffer* annotation = nullptr;
    float slideLevelScale = 1; // of the background's level to the whole slide
};

PixelBufferRef referenceFrame(const FramePlan& plan, const ReferencePictures& pictures);

// An exact Gaussian with clamped edges, out to five sigmas.
PixelBufferRef exactGaussian(const PixelBuffer& source, double sigma);

} // namespace lanternfly::test
