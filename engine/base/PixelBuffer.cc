#include "base/PixelBuffer.h"

#include <cstdlib>

namespace lanternfly {

namespace {

constexpr size_t rowAlignmentBytes = 64; // a cache line, and the widest vector register

size_t roundedUp(size_t value, size_t multiple) {
    return (value + multiple - 1) / multiple * multiple;
}

size_t strideBytesOf(int width, PixelFormat format) {
    const auto pixels = static_cast<size_t>(width);
    return roundedUp(format == PixelFormat::bgra8 ? pixels * 4 : pixels + pixels % 2,
                     rowAlignmentBytes);
}

size_t rowCount(int height, PixelFormat format) {
    const auto rows = static_cast<size_t>(height);
    return format == PixelFormat::bgra8 ? rows : rows + (rows + 1) / 2;
}

} // namespace

void PixelBuffer::FreeBytes::operator()(uint8_t* bytes) const {
    std::free(bytes);
}

size_t PixelBuffer::sizeBytes(int width, int height, PixelFormat format) {
    if (width < 1 || height < 1 || width > maxSidePX || height > maxSidePX) return 0;
    return roundedUp(strideBytesOf(width, format) * rowCount(height, format), alignmentBytes);
}

std::shared_ptr<PixelBuffer> PixelBuffer::create(int width, int height, PixelFormat format) {
    const size_t size = sizeBytes(width, height, format);
    if (size == 0) return nullptr;
    auto* bytes = static_cast<uint8_t*>(std::aligned_alloc(alignmentBytes, size));
    if (!bytes) return nullptr;
    std::shared_ptr<PixelBuffer> buffer(new PixelBuffer);
    buffer->_bytes.reset(bytes);
    buffer->_width = width;
    buffer->_height = height;
    buffer->_format = format;
    buffer->_strideBytes = strideBytesOf(width, format);
    return buffer;
}

} // namespace lanternfly
