// Gives camera pictures the shape of the canvas before anything looks at them, so that hands, slide
// and picture share one space.
// Threads: bound.
#pragma once

#include <memory>

#include "base/PixelBufferPool.h"

namespace lanternfly {

// `crop` cuts the middle out of a picture of another shape, `bars` shows all of it on black.
enum class FramingMode { crop, bars };

// Where the picture lies in its frame: `x`, `y` is the first pixel that is taken (crop) or filled
// (bars); width and height are those of the frame. All even except for odd pictures kept whole.
struct FramePlacement {
    int x = 0, y = 0, width = 0, height = 0;
    friend bool operator==(const FramePlacement&, const FramePlacement&) = default;
};

// `displayAspect` is the picture's width over height as shown, which differs from its pixels' when
// these are not square. Shapes within one per cent of each other are left alone.
FramePlacement placeInFrame(int width, int height, double displayAspect, double canvasAspect,
                            FramingMode mode);

class Framing {
public:
    Framing(double canvasAspect, FramingMode mode) : _canvasAspect(canvasAspect), _mode(mode) {}

    // The picture itself when it fits already. Null when memory is short.
    PixelBufferRef apply(PixelBufferRef picture, double displayAspect);

private:
    double _canvasAspect;
    FramingMode _mode;
    std::unique_ptr<PixelBufferPool> _pool;
};

} // namespace lanternfly
