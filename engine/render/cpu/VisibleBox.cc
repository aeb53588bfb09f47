#include "render/cpu/VisibleBox.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <tuple>
#include <utility>

namespace lanternfly {

namespace {

constexpr uint64_t twoAlphas = 0xff000000ff000000u;

uint64_t twoPixels(const uint8_t* row, int x) {
    uint64_t pixels;
    std::memcpy(&pixels, row + ptrdiff_t{4} * x, sizeof pixels);
    return pixels & twoAlphas;
}
bool isVisible(const uint8_t* row, int x) {
    return row[ptrdiff_t{4} * x + 3] != 0;
}

// The first visible pixel of 0 … end - 1, else `end`.
int firstVisible(const uint8_t* row, int end) {
    int x = 0;
    while (x + 2 <= end && twoPixels(row, x) == 0)
        x += 2;
    while (x < end && !isVisible(row, x))
        ++x;
    return x;
}
// One beyond the last visible pixel of begin … width - 1, else `begin`.
int endOfVisible(const uint8_t* row, int begin, int width) {
    int x = width;
    while (x - 2 >= begin && twoPixels(row, x - 2) == 0)
        x -= 2;
    while (x > begin && !isVisible(row, x - 1))
        --x;
    return x;
}

PixelRect visibleBox(const PixelBuffer& pixels) {
    const int width = pixels.width();
    const auto isRowVisible = [&](int y) { return firstVisible(pixels.row(y), width) < width; };
    PixelRect box{width, 0, 0, pixels.height()};
    while (box.y0 < box.y1 && !isRowVisible(box.y0))
        ++box.y0;
    while (box.y0 < box.y1 && !isRowVisible(box.y1 - 1))
        --box.y1;
    for (int y = box.y0; y < box.y1; ++y) {
        box.x0 = std::min(box.x0, firstVisible(pixels.row(y), box.x0));
        box.x1 = std::max(box.x1, endOfVisible(pixels.row(y), box.x1, width));
    }
    return box.isEmpty() ? PixelRect{} : box;
}

} // namespace

const PixelRect& VisibleBox::of(const CpuTexture& texture) {
    if (_serial != texture.serial()) {
        _serial = texture.serial();
        _box = visibleBox(texture.level(0));
    }
    return _box;
}

PixelRect VisibleBox::inFrame(const PixelRect& box, const CpuTexture& texture, FrameSize frame,
                              float reachTexels, bool vDownward) {
    if (box.isEmpty()) return {};
    // A texel is felt half a texel beyond its own edges; a whole pixel more is for rounding.
    const auto range = [&](int first, int end, int texels, int pixels) {
        const double perTexel = static_cast<double>(pixels) / texels;
        const double low = (first - 0.5 - reachTexels) * perTexel - 1;
        const double high = (end + 0.5 + reachTexels) * perTexel + 1;
        const auto within = [&](double value) {
            return static_cast<int>(std::clamp(value, 0.0, static_cast<double>(pixels)));
        };
        return std::pair(within(std::floor(low)), within(std::ceil(high)));
    };
    PixelRect rect;
    std::tie(rect.x0, rect.x1) = range(box.x0, box.x1, texture.width(), frame.width);
    std::tie(rect.y0, rect.y1) = range(box.y0, box.y1, texture.height(), frame.height);
    if (!vDownward) rect = {rect.x0, frame.height - rect.y1, rect.x1, frame.height - rect.y0};
    return rect;
}

} // namespace lanternfly
