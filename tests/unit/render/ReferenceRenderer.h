// The picture that a planned frame must give: every pixel of the frame by its formula, in double
// precision, one after another. Slow and plain on purpose; shares no code with a renderer.
// Threads: value.
#pragma once

#include "base/PixelBuffer.h"
#include "render/FramePlan.h"

namespace lanternfly::test {

// The camera has the plan's frame size; `slide` is the level to sample.
PixelBufferRef referenceFrame(const FramePlan& plan, const PixelBuffer& camera,
                              const PixelBuffer* slide);

// An exact Gaussian with clamped edges, out to five sigmas.
PixelBufferRef exactGaussian(const PixelBuffer& source, double sigma);

} // namespace lanternfly::test
