#include "gpu/PrefilteredLevels.h"

#include <algorithm>

#include <libyuv.h>

namespace lanternfly {

namespace {

constexpr int minSidePX = 64;

PixelBufferRef halved(const PixelBuffer& pixels) {
    auto half =
        PixelBuffer::create(std::max(pixels.width() / 2, 1), std::max(pixels.height() / 2, 1));
    if (!half) return nullptr;
    libyuv::ARGBScale(pixels.data(), static_cast<int>(pixels.strideBytes()), pixels.width(),
                      pixels.height(), half->data(), static_cast<int>(half->strideBytes()),
                      half->width(), half->height(), libyuv::kFilterBox);
    return half;
}

} // namespace

int prefilteredLevelCount(int width, int height) {
    int count = 1;
    for (int side = std::min(width, height); side >= minSidePX; side /= 2)
        ++count;
    return count;
}

std::vector<PixelBufferRef> prefilteredLevels(const PixelBuffer& picture) {
    std::vector<PixelBufferRef> levels;
    const PixelBuffer* last = &picture;
    while (std::min(last->width(), last->height()) >= minSidePX) {
        auto half = halved(*last);
        if (!half) break;
        levels.push_back(std::move(half));
        last = levels.back().get();
    }
    return levels;
}

} // namespace lanternfly
