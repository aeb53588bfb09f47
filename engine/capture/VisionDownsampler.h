// Scales camera frames down to what the hand detector needs to see.
// Threads: bound to the vision queue.
#pragma once

#include <memory>

#include "base/Logger.h"
#include "base/PixelBufferPool.h"

namespace lanternfly {

class VisionDownsampler {
public:
    static constexpr int targetLongSide = 480; // px

    struct Size {
        int width = 0, height = 0; // px
        friend bool operator==(const Size&, const Size&) = default;
    };
    // The size in which a picture of this size is searched: long side 480, also when that means
    // scaling up, and both sides even.
    static Size targetSize(int width, int height);
    // A scaled side to the nearest whole pixel, then down to an even number, at least 2.
    static int evenSide(double scaledPX);

    // The whole picture at its target size, in a recycled buffer. Null when the picture is not
    // 8-bit BGRA or cannot be scaled.
    PixelBufferRef scaled(const PixelBuffer& source);

private:
    void configure(Size source);

    Logger _log{"HandPoseFeed.Downsampler"};
    std::unique_ptr<PixelBufferPool> _pool;
    Size _sourceSize;
};

} // namespace lanternfly
