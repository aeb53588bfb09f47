// A camera's frame, in whatever layout it comes, made BGRA in a pixel buffer.
// Threads: bound.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/PixelBuffer.h"
#include "platform/linux/camera/MjpegDecoder.h"

namespace lanternfly {

enum class FrameEncoding {
    yuyv, // 4:2:2 in memory order Y U Y V
    uyvy,
    nv12, // a plane of Y, then one of interleaved U, V at half size
    i420, // planes of Y, U, V; the latter at half size
    yv12, // planes of Y, V, U
    bgrx, // bytes B, G, R, anything
    bgr24,
    rgb24,
    mjpeg,
};

// How numbers become colours; of no meaning to RGB and to JPEG, which has one way.
struct FrameColour {
    enum class Matrix { bt601, bt709, bt2020 };
    Matrix matrix = Matrix::bt601;
    bool isFullRange = false;
    friend bool operator==(const FrameColour&, const FrameColour&) = default;
};

struct FrameLayout {
    FrameEncoding encoding = FrameEncoding::yuyv;
    int width = 0, height = 0; // px
    // Of the first plane; what the driver says, raised to what a row needs. Planes of halves have
    // half of it.
    size_t strideBytes = 0;
    FrameColour colour{};

    // Bytes that a row of the first plane takes at least.
    static size_t minimumStrideBytes(FrameEncoding encoding, int width);
    // Bytes that a frame has at least; 1 for one that is compressed.
    size_t minimumBytes() const;
};

class FrameDecoder {
public:
    // Nothing when no picture can have this layout.
    static std::optional<FrameDecoder> create(FrameLayout layout);

    const FrameLayout& layout() const { return _layout; }
    // Fills a BGRA buffer of the layout's size, opaque. False when the frame is short, damaged or
    // the target of another size; the target then holds anything.
    bool decode(std::span<const uint8_t> frame, PixelBuffer& target);

private:
    explicit FrameDecoder(const FrameLayout& layout) : _layout(layout) {}
    bool decodePacked(const uint8_t* frame, PixelBuffer& target);

    FrameLayout _layout;
    std::unique_ptr<MjpegDecoder> _mjpeg; // for that encoding
    std::vector<uint8_t> _planes;         // for 4:2:2 that is not BT.601 in limited range
};

} // namespace lanternfly
