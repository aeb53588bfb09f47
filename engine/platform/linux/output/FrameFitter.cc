#include "platform/linux/output/FrameFitter.h"

#include <algorithm>
#include <cmath>

#include <libyuv.h>

namespace lanternfly {
namespace {

constexpr uint32_t opaqueBlack = 0xff000000;

int evenSide(double side, int most) {
    return std::clamp(2 * static_cast<int>(std::lround(side / 2)), 2, most);
}

} // namespace

FittedRect fittedRect(int width, int height, int targetWidth, int targetHeight) {
    const double scale = std::min(static_cast<double>(targetWidth) / width,
                                  static_cast<double>(targetHeight) / height);
    FittedRect rect;
    rect.width = evenSide(width * scale, targetWidth);
    rect.height = evenSide(height * scale, targetHeight);
    rect.x = (targetWidth - rect.width) / 4 * 2;
    rect.y = (targetHeight - rect.height) / 4 * 2;
    return rect;
}

const PixelBuffer* FrameFitter::fit(const PixelBuffer& frame) {
    if (frame.width() == _width && frame.height() == _height) return &frame;
    const FittedRect rect = fittedRect(frame.width(), frame.height(), _width, _height);
    const bool isNew = !_fitted;
    if (isNew) _fitted = PixelBuffer::create(_width, _height);
    if (!_fitted) return nullptr;
    const int stride = static_cast<int>(_fitted->strideBytes());
    if (isNew || rect != _rect)
        libyuv::ARGBRect(_fitted->data(), stride, 0, 0, _width, _height, opaqueBlack);
    _rect = rect;
    // A box filter takes every pixel into account; it only makes pictures smaller.
    const bool isSmaller = rect.width < frame.width() && rect.height < frame.height();
    libyuv::ARGBScale(frame.data(), static_cast<int>(frame.strideBytes()), frame.width(),
                      frame.height(), _fitted->row(rect.y) + static_cast<size_t>(rect.x) * 4,
                      stride, rect.width, rect.height,
                      isSmaller ? libyuv::kFilterBox : libyuv::kFilterBilinear);
    return _fitted.get();
}

} // namespace lanternfly
