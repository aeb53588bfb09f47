// Decoded pictures of any layout, made upright BGRA.
// Threads: bound.
#pragma once

#include <memory>

#include "base/PixelBufferPool.h"
#include "platform/linux/video/Libav.h"

namespace lanternfly {

class PictureConverter {
public:
    // Clockwise turn that makes the stored picture upright.
    enum class Turn { none = 0, by90 = 90, by180 = 180, by270 = 270 };

    // At most `maxBuffers` converted pictures are out at a time.
    PictureConverter(Turn turn, int maxBuffers) : _turn(turn), _maxBuffers(maxBuffers) {}

    // Colours follow the frame's own tags: matrix (BT.601, 709, 2020) and range. An untagged
    // picture is taken as BT.709 from 720 lines on and as BT.601 below, limited range, as players
    // do. Throws VideoError (tooLarge, allHeld, failed).
    PixelBufferRef convert(const AVFrame& frame);

private:
    // What a scaler is made for.
    struct Layout {
        int width = 0, height = 0, format = 0, matrix = 0;
        bool isFullRange = false;
        friend bool operator==(const Layout&, const Layout&) = default;
    };
    PixelBufferRef take(std::unique_ptr<PixelBufferPool>& pool, int width, int height);
    void fill(const AVFrame& frame, PixelBuffer& target);

    Turn _turn;
    int _maxBuffers;
    std::unique_ptr<PixelBufferPool> _upright;
    std::unique_ptr<PixelBufferPool> _stored; // before the turn
    libav::Scaler _scaler;
    Layout _layout;
};

} // namespace lanternfly
