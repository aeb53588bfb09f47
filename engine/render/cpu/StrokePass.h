// Ink: triangle strips whose vertices carry what the soft edge is computed from.
//
// Each triangle covers the pixels whose centres it holds, and shared edges belong to one side, as
// on a GPU; a stroke that crosses itself is blended twice there. The neighbouring pixels that
// successive triangles leave in one row are gathered first, so that many narrow triangles are
// blended as a few long runs.
// Threads: bound.
#pragma once

#include <vector>

#include "base/PixelBuffer.h"
#include "render/FramePlan.h"

namespace lanternfly {

// What a triangle leaves in a row of pixels until the row is blended: 4 numbers a pixel (core
// offset, core half-width, feather half-width, alpha), the pixels x0 … x1 - 1 in a window that
// begins at pixel `base`.
struct StrokeRun {
    static constexpr int windowPixels = 128;
    static constexpr size_t windowFloats = windowPixels * 4;

    int base = 0;
    int x0 = 0, x1 = 0; // equal: none
};

class StrokePass {
public:
    explicit StrokePass(FrameSize output);

    void draw(const StrokesDraw& draw, PixelBuffer& output);

private:
    std::vector<StrokeRun> _runs;  // one a row
    std::vector<float> _fragments; // one window a row
};

} // namespace lanternfly
