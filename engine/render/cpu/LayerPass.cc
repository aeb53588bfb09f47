#include "render/cpu/LayerPass.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/cpu/LayerPass.cc"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "render/cpu/Pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lanternfly {
namespace {
namespace HWY_NAMESPACE {

using namespace lanternfly::HWY_NAMESPACE; // NOLINT

HWY_INLINE void blendTexels(Ints texels, Floats opacity, uint8_t* out, size_t x) {
    if (hn::AllTrue(ints, hn::Eq(texels, hn::Zero(ints)))) return;
    const Bgra c = unpack(texels);
    const Floats alpha = hn::Mul(c.a, opacity);
    const Bgra source{hn::Mul(c.b, alpha), hn::Mul(c.g, alpha), hn::Mul(c.r, alpha),
                      hn::Mul(alpha, set(255))};
    storePixels(blendOver(source, loadPixels(out, x)), out, x);
}

void layerRows(const LayerDraw& draw, Rows rows, PixelBuffer& output) {
    const size_t step = lanes();
    const Floats opacity = set(draw.opacity / 255);
    const size_t end = static_cast<size_t>(draw.rect.x1);
    const float perWidth = 1 / static_cast<float>(output.width());
    const bool isSameSize =
        draw.texture.width == output.width() && draw.texture.height == output.height();
    for (int y = rows.y0; y < rows.y1; ++y) {
        uint8_t* out = output.row(y);
        size_t x = static_cast<size_t>(draw.rect.x0) / step * step;
        if (isSameSize) {
            const int texelRow = draw.vDownward ? y : output.height() - 1 - y;
            const uint8_t* texels =
                draw.texture.pixels + ptrdiff_t{4} * texelRow * draw.texture.stridePixels;
            for (; x < end; x += step)
                blendTexels(loadPixels(texels, x), opacity, out, x);
            continue;
        }
        const float down = (static_cast<float>(y) + 0.5f) / static_cast<float>(output.height());
        const Floats v = set(draw.vDownward ? down : 1 - down);
        for (; x < end; x += step) {
            const Floats u = hn::Mul(hn::Iota(floats, static_cast<float>(x) + 0.5f), set(perWidth));
            const Bgra c = sample(draw.texture, clamp01(u), v);
            const Floats alpha = hn::Mul(c.a, opacity);
            const Bgra source{hn::Mul(c.b, alpha), hn::Mul(c.g, alpha), hn::Mul(c.r, alpha),
                              hn::Mul(alpha, set(255))};
            storePixels(blendOver(source, loadPixels(out, x)), out, x);
        }
    }
}

} // namespace HWY_NAMESPACE
} // namespace
} // namespace lanternfly
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lanternfly {
namespace {
HWY_EXPORT(layerRows);
} // namespace

void drawLayer(const LayerDraw& draw, Rows rows, PixelBuffer& output) {
    rows = rows.in(draw.rect);
    if (rows.y0 < rows.y1) HWY_DYNAMIC_DISPATCH(layerRows)(draw, rows, output);
}

} // namespace lanternfly
#endif
