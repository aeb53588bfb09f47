// All ink of a frame. Batches that are shown unchanged for a second frame are held in a layer of
// their own, the others are drawn.
// Threads: bound, but several may draw, each other rows.
#pragma once

#include <span>
#include <vector>

#include "base/PixelBuffer.h"
#include "render/FramePlan.h"
#include "render/cpu/InkLayer.h"
#include "render/cpu/InkStrips.h"

namespace lanternfly {

class StrokePass {
public:
    explicit StrokePass(FrameSize frame) : _frame(frame), _layer(frame) {}

    // Decides what the frame's ink is drawn from. All its rows are then to be drawn, once each.
    void prepare(const StrokesDraw& draw);
    void drawRows(Rows rows, PixelBuffer& output);

private:
    using Batches = std::span<const StrokeBatchRef>;

    // How many batches from `first` on were in the last frame too.
    size_t unchanged(Batches batches, size_t first) const;
    // Which batches the layer has, and which join them: as many as possible.
    void hold(const StrokesDraw& draw);

    const FrameSize _frame;
    StrokesDraw _last;
    InkLayer _layer;
    std::vector<StrokeBatchRef> _held; // in the layer, drawn as _last was
    // Of the batches: those before and after the held ones are drawn onto the frame.
    size_t _firstHeld = 0, _firstJoining = 0, _endHeld = 0;
    PixelBuffer* _joined = nullptr; // the layer's pixels, when batches join it
    InkStrips _strips;
};

} // namespace lanternfly
