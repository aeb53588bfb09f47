// A picture in memory: rows of pixels in one page-aligned block.
// Threads: value in the hands of one writer; shared readers once it is filled.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "base/LockedCell.h"

namespace lanternfly {

enum class PixelFormat : uint32_t {
    bgra8, // 4 bytes a pixel in memory order B, G, R, A; premultiplied where alpha is not 255
    nv12,  // a plane of Y, then a half-size plane of interleaved U, V with the same stride
};

class PixelBuffer {
public:
    static constexpr size_t alignmentBytes = 4096;
    static constexpr int maxSidePX = 16384;

    // Uninitialised pixels. Returns null when a side is outside 1…maxSidePX or memory is short.
    static std::shared_ptr<PixelBuffer> create(int width, int height,
                                               PixelFormat format = PixelFormat::bgra8);
    // Bytes that a buffer of this size occupies; 0 when a side is out of range.
    static size_t sizeBytes(int width, int height, PixelFormat format);

    int width() const { return _width; }
    int height() const { return _height; }
    PixelFormat format() const { return _format; }
    size_t strideBytes() const { return _strideBytes; }

    uint8_t* data() { return _bytes.get(); }
    const uint8_t* data() const { return _bytes.get(); }
    uint8_t* row(int y) { return data() + static_cast<size_t>(y) * _strideBytes; }
    const uint8_t* row(int y) const { return data() + static_cast<size_t>(y) * _strideBytes; }

    // Something that a device made of this memory and that must die before it, such as its import
    // of the pages. One at a time; pools hand it out again with the buffer. Safe on every thread.
    std::shared_ptr<const void> companion() const { return _companion.get(); }
    void setCompanion(std::shared_ptr<const void> companion) const {
        _companion.set(std::move(companion));
    }

private:
    struct FreeBytes {
        void operator()(uint8_t* bytes) const;
    };
    PixelBuffer() = default;

    std::unique_ptr<uint8_t, FreeBytes> _bytes;
    int _width = 0;
    int _height = 0;
    PixelFormat _format = PixelFormat::bgra8;
    size_t _strideBytes = 0;
    mutable LockedCell<std::shared_ptr<const void>> _companion;
};

using PixelBufferRef = std::shared_ptr<PixelBuffer>;

} // namespace lanternfly
