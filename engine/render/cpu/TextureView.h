// Pixels to sample: 8-bit BGRA rows.
// Threads: value; borrows the pixels.
#pragma once

#include <cstdint>

#include "base/PixelBuffer.h"

namespace lanternfly {

struct TextureView {
    const uint8_t* pixels = nullptr;
    int stridePixels = 0;
    int width = 0;
    int height = 0;

    TextureView() = default;
    explicit TextureView(const PixelBuffer& buffer)
        : pixels(buffer.data()), stridePixels(static_cast<int>(buffer.strideBytes() / 4)),
          width(buffer.width()), height(buffer.height()) {}
};

} // namespace lanternfly
