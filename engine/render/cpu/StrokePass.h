// Ink: triangle strips whose vertices carry what the soft edge is computed from.
//
// Each triangle covers the pixels whose centres it holds, and shared edges belong to one side, as
// on a GPU; a stroke that crosses itself is blended twice there. The neighbouring pixels that
// successive triangles leave in one row are gathered first, so that many narrow triangles are
// blended as a few long runs. Batches that are shown unchanged for a second frame are held in a
// layer of their own.
// Threads: bound.
#pragma once

#include <span>
#include <utility>
#include <vector>

#include "base/PixelBuffer.h"
#include "render/FramePlan.h"
#include "render/cpu/InkLayer.h"

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
    using Batches = std::span<const StrokeBatchRef>;

    // How many batches from `first` on were in the last frame too.
    size_t unchanged(Batches batches, size_t first) const;
    // Which of the batches are in the layer: brought up to date, as long as possible.
    std::pair<size_t, size_t> hold(const StrokesDraw& draw);
    void drawBatches(const StrokesDraw& draw, size_t first, size_t end, PixelBuffer& output,
                     InkLayer* layer);

    std::vector<StrokeRun> _runs;  // one a row
    std::vector<float> _fragments; // one window a row
    StrokesDraw _last;
    InkLayer _layer;
    std::vector<StrokeBatchRef> _held; // in the layer, drawn as _last was
};

} // namespace lanternfly
