// A BGRA frame of any size made what a taker of video wants: its size, its pixel layout.
// Threads: bound.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "platform/linux/camera/FrameDecoder.h"
#include "platform/linux/output/FrameFitter.h"

namespace lanternfly {

class FrameEncoder {
public:
    // Nothing for layouts that are not written: others than yuyv, uyvy, nv12, i420, yv12 and bgrx,
    // colours other than BT.601 in limited range, odd sides.
    static std::optional<FrameEncoder> create(FrameLayout layout);

    const FrameLayout& layout() const { return _layout; }
    // Of a whole frame.
    size_t frameBytes() const;
    // False when the frame is not BGRA or the target too short; it then holds anything.
    bool encode(const PixelBuffer& frame, std::span<uint8_t> target);

private:
    explicit FrameEncoder(const FrameLayout& layout)
        : _layout(layout), _fitter(layout.width, layout.height) {}

    FrameLayout _layout;
    FrameFitter _fitter;
};

} // namespace lanternfly
