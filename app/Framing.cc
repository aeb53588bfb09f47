#include "app/Framing.h"

#include <algorithm>
#include <cmath>

#include <libyuv.h>

namespace lanternfly {
namespace {

constexpr double sameShape = 0.01;

int evenAtLeast2(double side) {
    return std::max(2, 2 * static_cast<int>(std::lround(side / 2)));
}

} // namespace

FramePlacement placeInFrame(int width, int height, double displayAspect, double canvasAspect,
                            FramingMode mode) {
    if (!(displayAspect > 0) || !(canvasAspect > 0) ||
        std::abs(displayAspect / canvasAspect - 1) <= sameShape)
        return {0, 0, width, height};
    const double wider = displayAspect / canvasAspect; // above 1: the picture is the wider one
    FramePlacement frame{0, 0, width, height};
    const bool cutsOrFillsWidth = (wider > 1) == (mode == FramingMode::crop);
    if (cutsOrFillsWidth)
        frame.width = evenAtLeast2(width / wider);
    else
        frame.height = evenAtLeast2(height * wider);
    frame.x = std::abs(width - frame.width) / 2;
    frame.y = std::abs(height - frame.height) / 2;
    return frame;
}

PixelBufferRef Framing::apply(PixelBufferRef picture, double displayAspect) {
    const auto frame =
        placeInFrame(picture->width(), picture->height(), displayAspect, _canvasAspect, _mode);
    if (frame.width == picture->width() && frame.height == picture->height()) return picture;
    if (!_pool || _pool->width() != frame.width || _pool->height() != frame.height)
        _pool = PixelBufferPool::create(frame.width, frame.height, PixelFormat::bgra8);
    auto framed = _pool ? _pool->take().buffer : nullptr;
    if (!framed) return nullptr;

    const int from = static_cast<int>(picture->strideBytes());
    const int to = static_cast<int>(framed->strideBytes());
    if (_mode == FramingMode::crop) {
        libyuv::ARGBCopy(picture->row(frame.y) + frame.x * 4, from, framed->data(), to, frame.width,
                         frame.height);
    } else {
        constexpr uint32_t opaqueBlack = 0xff000000;
        libyuv::ARGBRect(framed->data(), to, 0, 0, frame.width, frame.height, opaqueBlack);
        libyuv::ARGBCopy(picture->data(), from, framed->row(frame.y) + frame.x * 4, to,
                         picture->width(), picture->height());
    }
    return framed;
}

} // namespace lanternfly
