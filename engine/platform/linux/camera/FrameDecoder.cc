#include "platform/linux/camera/FrameDecoder.h"

#include <algorithm>

#include <libyuv.h>

namespace lanternfly {
namespace {

size_t half(int side) {
    return (static_cast<size_t>(side) + 1) / 2;
}

const libyuv::YuvConstants& constantsOf(const FrameColour& colour) {
    switch (colour.matrix) {
    case FrameColour::Matrix::bt601:
        return colour.isFullRange ? libyuv::kYuvJPEGConstants : libyuv::kYuvI601Constants;
    case FrameColour::Matrix::bt709:
        return colour.isFullRange ? libyuv::kYuvF709Constants : libyuv::kYuvH709Constants;
    case FrameColour::Matrix::bt2020:
        return colour.isFullRange ? libyuv::kYuvV2020Constants : libyuv::kYuv2020Constants;
    }
    return libyuv::kYuvI601Constants;
}

void copyOpaque(const uint8_t* frame, size_t strideBytes, PixelBuffer& target) {
    for (int y = 0; y < target.height(); ++y) {
        const uint8_t* from = frame + static_cast<size_t>(y) * strideBytes;
        uint8_t* to = target.row(y);
        for (int x = 0; x < target.width(); ++x, from += 4, to += 4) {
            to[0] = from[0];
            to[1] = from[1];
            to[2] = from[2];
            to[3] = 255;
        }
    }
}

} // namespace

size_t FrameLayout::minimumStrideBytes(FrameEncoding encoding, int width) {
    const auto pixels = static_cast<size_t>(width);
    switch (encoding) {
    case FrameEncoding::yuyv:
    case FrameEncoding::uyvy:
        return half(width) * 4;
    case FrameEncoding::nv12:
    case FrameEncoding::i420:
    case FrameEncoding::yv12:
        return half(width) * 2;
    case FrameEncoding::bgrx:
        return pixels * 4;
    case FrameEncoding::bgr24:
    case FrameEncoding::rgb24:
        return pixels * 3;
    case FrameEncoding::mjpeg:
        return 0;
    }
    return 0;
}

size_t FrameLayout::minimumBytes() const {
    const auto rows = static_cast<size_t>(height);
    // Drivers may leave out what pads the last row.
    const auto plane = [](size_t stride, size_t count, size_t row) {
        return stride * (count - 1) + row;
    };
    const size_t row = minimumStrideBytes(encoding, width);
    switch (encoding) {
    case FrameEncoding::nv12:
        return strideBytes * rows + plane(strideBytes, half(height), row);
    case FrameEncoding::i420:
    case FrameEncoding::yv12:
        return strideBytes * rows + strideBytes / 2 * half(height) +
               plane(strideBytes / 2, half(height), row / 2);
    case FrameEncoding::yuyv:
    case FrameEncoding::uyvy:
    case FrameEncoding::bgrx:
    case FrameEncoding::bgr24:
    case FrameEncoding::rgb24:
        return plane(strideBytes, rows, row);
    case FrameEncoding::mjpeg:
        return 1;
    }
    return 1;
}

std::optional<FrameDecoder> FrameDecoder::create(FrameLayout layout) {
    if (PixelBuffer::sizeBytes(layout.width, layout.height, PixelFormat::bgra8) == 0)
        return std::nullopt;
    constexpr size_t maxStrideBytes = size_t{PixelBuffer::maxSidePX} * 8;
    if (layout.strideBytes > maxStrideBytes) return std::nullopt;
    layout.strideBytes = std::max(layout.strideBytes,
                                  FrameLayout::minimumStrideBytes(layout.encoding, layout.width));
    FrameDecoder decoder(layout);
    if (layout.encoding == FrameEncoding::mjpeg) decoder._mjpeg = std::make_unique<MjpegDecoder>();
    return decoder;
}

bool FrameDecoder::decode(std::span<const uint8_t> frame, PixelBuffer& target) {
    if (frame.size() < _layout.minimumBytes() || target.format() != PixelFormat::bgra8 ||
        target.width() != _layout.width || target.height() != _layout.height)
        return false;

    const uint8_t* const bytes = frame.data();
    const int stride = static_cast<int>(_layout.strideBytes);
    const int targetStride = static_cast<int>(target.strideBytes());
    const int width = _layout.width, height = _layout.height;
    const size_t lumaBytes = _layout.strideBytes * static_cast<size_t>(height);
    switch (_layout.encoding) {
    case FrameEncoding::yuyv:
    case FrameEncoding::uyvy:
        return decodePacked(bytes, target);
    case FrameEncoding::nv12:
        return libyuv::NV12ToARGBMatrix(bytes, stride, bytes + lumaBytes, stride, target.data(),
                                        targetStride, &constantsOf(_layout.colour), width,
                                        height) == 0;
    case FrameEncoding::i420:
    case FrameEncoding::yv12: {
        const uint8_t* first = bytes + lumaBytes;
        const uint8_t* second = first + _layout.strideBytes / 2 * half(height);
        if (_layout.encoding == FrameEncoding::yv12) std::swap(first, second);
        return libyuv::I420ToARGBMatrix(bytes, stride, first, stride / 2, second, stride / 2,
                                        target.data(), targetStride, &constantsOf(_layout.colour),
                                        width, height) == 0;
    }
    case FrameEncoding::bgrx:
        copyOpaque(bytes, _layout.strideBytes, target);
        return true;
    case FrameEncoding::bgr24:
        return libyuv::RGB24ToARGB(bytes, stride, target.data(), targetStride, width, height) == 0;
    case FrameEncoding::rgb24:
        return libyuv::RAWToARGB(bytes, stride, target.data(), targetStride, width, height) == 0;
    case FrameEncoding::mjpeg:
        return _mjpeg->decode(frame, target);
    }
    return false;
}

// libyuv converts packed 4:2:2 in one step for the usual colours only.
bool FrameDecoder::decodePacked(const uint8_t* frame, PixelBuffer& target) {
    const bool isYuyv = _layout.encoding == FrameEncoding::yuyv;
    const int stride = static_cast<int>(_layout.strideBytes);
    const int targetStride = static_cast<int>(target.strideBytes());
    const int width = _layout.width, height = _layout.height;
    if (_layout.colour == FrameColour{}) {
        const auto convert = isYuyv ? libyuv::YUY2ToARGB : libyuv::UYVYToARGB;
        return convert(frame, stride, target.data(), targetStride, width, height) == 0;
    }
    // Some rows at a time, so that the planes between the two steps stay in the cache.
    constexpr int bandRows = 16;
    const int halfWidth = static_cast<int>(half(width));
    _planes.resize((static_cast<size_t>(width) + 2 * half(width)) * bandRows);
    uint8_t* const luma = _planes.data();
    uint8_t* const u = luma + static_cast<size_t>(width) * bandRows;
    uint8_t* const v = u + half(width) * bandRows;
    const auto split = isYuyv ? libyuv::YUY2ToI422 : libyuv::UYVYToI422;
    for (int y = 0; y < height; y += bandRows) {
        const int rows = std::min(bandRows, height - y);
        const uint8_t* const band = frame + static_cast<size_t>(y) * _layout.strideBytes;
        if (split(band, stride, luma, width, u, halfWidth, v, halfWidth, width, rows) != 0 ||
            libyuv::I422ToARGBMatrix(luma, width, u, halfWidth, v, halfWidth, target.row(y),
                                     targetStride, &constantsOf(_layout.colour), width, rows) != 0)
            return false;
    }
    return true;
}

} // namespace lanternfly
