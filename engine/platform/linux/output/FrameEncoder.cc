#include "platform/linux/output/FrameEncoder.h"

#include <algorithm>

#include <libyuv.h>

namespace lanternfly {
namespace {

bool isWritten(FrameEncoding encoding) {
    switch (encoding) {
    case FrameEncoding::yuyv:
    case FrameEncoding::uyvy:
    case FrameEncoding::nv12:
    case FrameEncoding::i420:
    case FrameEncoding::yv12:
    case FrameEncoding::bgrx:
        return true;
    case FrameEncoding::bgr24:
    case FrameEncoding::rgb24:
    case FrameEncoding::mjpeg:
        return false;
    }
    return false;
}

} // namespace

std::optional<FrameEncoder> FrameEncoder::create(FrameLayout layout) {
    constexpr size_t maxStrideBytes = size_t{PixelBuffer::maxSidePX} * 8;
    if (!isWritten(layout.encoding) || layout.colour != FrameColour{} || layout.width % 2 != 0 ||
        layout.height % 2 != 0 || layout.strideBytes > maxStrideBytes ||
        PixelBuffer::sizeBytes(layout.width, layout.height, PixelFormat::bgra8) == 0)
        return std::nullopt;
    layout.strideBytes = std::max(layout.strideBytes,
                                  FrameLayout::minimumStrideBytes(layout.encoding, layout.width));
    return FrameEncoder(layout);
}

size_t FrameEncoder::frameBytes() const {
    const size_t luma = _layout.strideBytes * static_cast<size_t>(_layout.height);
    switch (_layout.encoding) {
    case FrameEncoding::nv12:
    case FrameEncoding::i420:
    case FrameEncoding::yv12:
        return luma + luma / 2;
    default:
        return luma;
    }
}

bool FrameEncoder::encode(const PixelBuffer& frame, std::span<uint8_t> target) {
    if (frame.format() != PixelFormat::bgra8 || target.size() < frameBytes()) return false;
    const PixelBuffer* const picture = _fitter.fit(frame);
    if (!picture) return false;

    const int width = _layout.width, height = _layout.height;
    const int stride = static_cast<int>(_layout.strideBytes);
    const int from = static_cast<int>(picture->strideBytes());
    uint8_t* const luma = target.data();
    uint8_t* const chroma = luma + _layout.strideBytes * static_cast<size_t>(height);
    switch (_layout.encoding) {
    case FrameEncoding::yuyv:
        return libyuv::ARGBToYUY2(picture->data(), from, luma, stride, width, height) == 0;
    case FrameEncoding::uyvy:
        return libyuv::ARGBToUYVY(picture->data(), from, luma, stride, width, height) == 0;
    case FrameEncoding::nv12:
        return libyuv::ARGBToNV12(picture->data(), from, luma, stride, chroma, stride, width,
                                  height) == 0;
    case FrameEncoding::i420:
    case FrameEncoding::yv12: {
        uint8_t* u = chroma;
        uint8_t* v = chroma + _layout.strideBytes / 2 * static_cast<size_t>(height / 2);
        if (_layout.encoding == FrameEncoding::yv12) std::swap(u, v);
        return libyuv::ARGBToI420(picture->data(), from, luma, stride, u, stride / 2, v, stride / 2,
                                  width, height) == 0;
    }
    case FrameEncoding::bgrx:
        return libyuv::ARGBCopy(picture->data(), from, luma, stride, width, height) == 0;
    case FrameEncoding::bgr24:
    case FrameEncoding::rgb24:
    case FrameEncoding::mjpeg:
        return false;
    }
    return false;
}

} // namespace lanternfly
