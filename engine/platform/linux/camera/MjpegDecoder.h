// Motion JPEG frames as cameras send them, with libjpeg-turbo. Never trusts a byte of them.
// Threads: bound.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "base/PixelBuffer.h"

namespace lanternfly {

class MjpegDecoder {
public:
    MjpegDecoder();
    ~MjpegDecoder();
    MjpegDecoder(const MjpegDecoder&) = delete;
    MjpegDecoder& operator=(const MjpegDecoder&) = delete;

    // Fills the whole BGRA target, opaque. False when the frame is damaged or of another size; the
    // target then holds anything. Frames without Huffman tables take the standard's.
    bool decode(std::span<const uint8_t> frame, PixelBuffer& target);

private:
    struct Jpeg;
    std::unique_ptr<Jpeg> _jpeg;
};

} // namespace lanternfly
