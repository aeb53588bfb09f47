// The strokes of a frame as strips, cut into pieces once and then drawn band by band.
// Threads: bound, but several may draw, each other rows.
#pragma once

#include <vector>

#include "render/cpu/StrokeStrip.h"

namespace lanternfly {

class InkStrips {
public:
    // Strips for all batches but those from `firstLeftOut` to before `endLeftOut`. The batches are
    // borrowed.
    void assign(const StrokesDraw& draw, size_t firstLeftOut, size_t endLeftOut, FrameSize frame);
    // The batches from `first` to before `end`.
    void draw(size_t first, size_t end, Rows rows, PixelBuffer& output, InkLayer* layer) const;

private:
    struct Strip {
        StrokeStrip strip;
        StripPiece* pieces;
        size_t pieceCount;
        Rows rows; // of all pieces
    };
    static void cut(Strip& strip, int frameHeight);

    std::vector<Strip> _strips; // one a batch; empty: nothing to draw
    std::vector<Strip*> _toCut; // of these
    std::vector<StripPiece> _pieces;
};

} // namespace lanternfly
