#include "render/cpu/InkLayer.h"

#include <algorithm>
#include <bit>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/cpu/InkLayer.cc"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "render/cpu/InkBlend-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lanternfly {
namespace {
namespace HWY_NAMESPACE {

using namespace lanternfly::HWY_NAMESPACE; // NOLINT

void blendTile(const uint8_t* layer, int x0, int x1, uint8_t* out) {
    for (int x = x0; x < x1; x += inkLanes()) {
        const InkPixels source = loadInkPixels(layer, x);
        if (hn::AllTrue(inkPixels, hn::Eq(source, hn::Zero(inkPixels)))) continue;
        storeInkPixels(inkOver(source, loadInkPixels(out, x)), out, x);
    }
}

} // namespace HWY_NAMESPACE
} // namespace
} // namespace lanternfly
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lanternfly {

namespace {

HWY_EXPORT(blendTile);

constexpr int tiles = 64;
constexpr int tileAlignment = 16; // pixels: whole vectors

// Calls body(first pixel, one beyond the last) for every run of marked tiles.
template <typename Body>
void forEachRun(uint64_t marked, int tilePixels, int width, const Body& body) {
    while (marked != 0) {
        const int first = std::countr_zero(marked);
        const int count = std::countr_one(marked >> first);
        body(first * tilePixels, std::min((first + count) * tilePixels, width));
        if (first + count >= tiles) return;
        marked &= ~uint64_t{0} << (first + count);
    }
}

} // namespace

InkLayer::InkLayer(FrameSize frame) : _frame(frame), _marked(static_cast<size_t>(frame.height)) {
    const int shared = (frame.width + tiles - 1) / tiles;
    _tilePixels = (shared + tileAlignment - 1) / tileAlignment * tileAlignment;
}

PixelBuffer* InkLayer::pixels() {
    if (!_pixels && (_pixels = PixelBuffer::create(_frame.width, _frame.height)))
        std::memset(_pixels->data(), 0,
                    _pixels->strideBytes() * static_cast<size_t>(_frame.height));
    return _pixels.get();
}

void InkLayer::mark(const PixelRect& rect) {
    if (rect.isEmpty()) return;
    const int first = rect.x0 / _tilePixels;
    const int count = (rect.x1 - 1) / _tilePixels - first + 1;
    const uint64_t marked = (~uint64_t{0} >> (tiles - count)) << first;
    for (int y = rect.y0; y < rect.y1; ++y)
        _marked[static_cast<size_t>(y)] |= marked;
}

void InkLayer::clear() {
    for (int y = 0; y < _frame.height; ++y) {
        uint64_t& marked = _marked[static_cast<size_t>(y)];
        forEachRun(marked, _tilePixels, _frame.width, [&](int x0, int x1) {
            std::memset(_pixels->row(y) + ptrdiff_t{4} * x0, 0, static_cast<size_t>(x1 - x0) * 4);
        });
        marked = 0;
    }
}

void InkLayer::blendOnto(PixelBuffer& output, Rows rows) const {
    for (int y = rows.y0; y < rows.y1; ++y)
        forEachRun(_marked[static_cast<size_t>(y)], _tilePixels, _frame.width, [&](int x0, int x1) {
            HWY_DYNAMIC_DISPATCH(blendTile)(_pixels->row(y), x0, x1, output.row(y));
        });
}

} // namespace lanternfly
#endif
