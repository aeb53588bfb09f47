#include "capture/VisionDownsampler.h"

#include <algorithm>
#include <cmath>

#include <libyuv/scale_argb.h>

namespace lanternfly {

int VisionDownsampler::evenSide(double scaledPX) {
    const int nearest = static_cast<int>(std::lround(scaledPX));
    return std::max(nearest / 2 * 2, 2);
}

VisionDownsampler::Size VisionDownsampler::targetSize(int width, int height) {
    const double scale = static_cast<double>(targetLongSide) / std::max(width, height);
    return {evenSide(scale * width), evenSide(scale * height)};
}

PixelBufferRef VisionDownsampler::scaled(const PixelBuffer& source) {
    if (source.format() != PixelFormat::bgra8 || source.width() < 1 || source.height() < 1)
        return nullptr;
    const Size size{source.width(), source.height()};
    if (!_pool || size != _sourceSize) configure(size);
    if (!_pool) return nullptr;

    PixelBufferRef target = _pool->take().buffer;
    if (!target) return nullptr;
    // The box filter averages all the pixels that fall into one: without it, thin fingers alias.
    const int status =
        libyuv::ARGBScale(source.data(), static_cast<int>(source.strideBytes()), source.width(),
                          source.height(), target->data(), static_cast<int>(target->strideBytes()),
                          target->width(), target->height(), libyuv::kFilterBox);
    if (status != 0) {
        _log.error("vImageScale_ARGB8888 failed: {}", status);
        return nullptr;
    }
    return target;
}

void VisionDownsampler::configure(Size source) {
    const Size target = targetSize(source.width, source.height);
    _pool = PixelBufferPool::create(target.width, target.height, PixelFormat::bgra8);
    if (!_pool) {
        _log.error("VisionDownsampler pool create failed: status={}",
                   static_cast<int>(PixelBufferPool::Status::outOfMemory));
        return;
    }
    _sourceSize = source;
    _log.info("VisionDownsampler ready: {}x{} -> {}x{}", source.width, source.height, target.width,
              target.height);
}

} // namespace lanternfly
