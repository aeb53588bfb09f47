// Brings pictures of any size into one size: whole, as large as they fit, on black.
// Threads: bound.
#pragma once

#include "base/PixelBuffer.h"

namespace lanternfly {

// Pixels from the upper left; all even, so that colours of two pixels stay together.
struct FittedRect {
    int x = 0, y = 0, width = 0, height = 0;
    friend bool operator==(const FittedRect&, const FittedRect&) = default;
};

// Where a picture comes to lie in a larger or smaller one. Sides above 0; those of the target even.
FittedRect fittedRect(int width, int height, int targetWidth, int targetHeight);

class FrameFitter {
public:
    // Even sides within PixelBuffer's range.
    FrameFitter(int width, int height) : _width(width), _height(height) {}

    // The BGRA frame itself when it has the size; else a picture that is good until the next call.
    // Null when memory is short. Allocates only when the size of the frames changes.
    const PixelBuffer* fit(const PixelBuffer& frame);

private:
    int _width, _height;
    PixelBufferRef _fitted; // black around `_rect`
    FittedRect _rect;
};

} // namespace lanternfly
