// All ink of a frame. Batches that are shown unchanged for a second frame are held in a layer of
// their own, the others are drawn.
// Threads: bound.
#pragma once

#include <span>
#include <utility>
#include <vector>

#include "base/PixelBuffer.h"
#include "render/FramePlan.h"
#include "render/cpu/InkLayer.h"

namespace lanternfly {

class StrokePass {
public:
    explicit StrokePass(FrameSize output) : _layer(output) {}

    void draw(const StrokesDraw& draw, PixelBuffer& output);

private:
    using Batches = std::span<const StrokeBatchRef>;

    // How many batches from `first` on were in the last frame too.
    size_t unchanged(Batches batches, size_t first) const;
    // Which of the batches are in the layer: brought up to date, as long as possible.
    std::pair<size_t, size_t> hold(const StrokesDraw& draw);
    void drawBatches(const StrokesDraw& draw, size_t first, size_t end, PixelBuffer& output,
                     InkLayer* layer);

    StrokesDraw _last;
    InkLayer _layer;
    std::vector<StrokeBatchRef> _held; // in the layer, drawn as _last was
};

} // namespace lanternfly
