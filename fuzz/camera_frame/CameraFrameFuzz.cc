// Frames as a broken camera might send them: the first bytes choose the layout.
#include <cstdint>
#include <cstdlib>

#include "platform/linux/camera/FrameDecoder.h"

using namespace lanternfly;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr size_t headerBytes = 5;
    if (size < headerBytes) return 0;
    FrameLayout layout;
    layout.encoding = static_cast<FrameEncoding>(data[0] % 9);
    layout.width = data[1];
    layout.height = data[2];
    layout.strideBytes = data[3];
    layout.colour.matrix = static_cast<FrameColour::Matrix>(data[4] % 3);
    layout.colour.isFullRange = data[4] >= 128;
    auto decoder = FrameDecoder::create(layout);
    if (!decoder) return 0;
    const auto target = PixelBuffer::create(layout.width, layout.height);
    // Twice: a decoder must not be left in a bad state by what it refused.
    const std::span<const uint8_t> frame(data + headerBytes, size - headerBytes);
    const bool first = decoder->decode(frame, *target);
    if (first != decoder->decode(frame, *target)) std::abort();
    return 0;
}
