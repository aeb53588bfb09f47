// The slide as the background of swapped frames. Slides change seldom, so the finished picture is
// kept until the slide, its place or its blur changes.
// Threads: bound.
#pragma once

#include <optional>

#include "gpu/cpu/CpuDevice.h"
#include "render/FramePlan.h"
#include "render/cpu/GaussianBlur.h"

namespace lanternfly {

class SlideBackground {
public:
    // A picture of the frame's size, valid until the next call. Null when memory is short.
    const PixelBuffer* prepare(const BackgroundDraw& draw, const CpuTexture& slide,
                               FrameSize frame);

private:
    struct Key {
        uint64_t slideSerial;
        Quad quad;
        std::optional<float> blurSigma;
        friend bool operator==(const Key&, const Key&) = default;
    };
    const PixelBuffer* blurred(const PixelBuffer& level, float2 sigma);

    std::optional<Key> _key; // of the picture
    PixelBufferRef _picture;
    PixelBufferRef _blurred;
    GaussianBlur _blur;
};

} // namespace lanternfly
