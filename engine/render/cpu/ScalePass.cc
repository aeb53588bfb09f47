#include "render/cpu/ScalePass.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/cpu/ScalePass.cc"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "render/cpu/Pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lanternfly {
namespace {
namespace HWY_NAMESPACE {

using namespace lanternfly::HWY_NAMESPACE; // NOLINT

void scaledRows(const TextureView& picture, bool mirror, Rows rows, PixelBuffer& output) {
    const size_t step = lanes();
    const auto width = static_cast<size_t>(output.width());
    const float perWidth = 1 / static_cast<float>(output.width());
    for (int y = rows.y0; y < rows.y1; ++y) {
        const Floats v = set((static_cast<float>(y) + 0.5f) / static_cast<float>(output.height()));
        for (size_t x = 0; x < width; x += step) {
            const Floats forward =
                hn::Mul(hn::Iota(floats, static_cast<float>(x) + 0.5f), set(perWidth));
            const Floats u = mirror ? hn::Sub(set(1), forward) : forward;
            storePixels(pack(sample(picture, clamp01(u), v)), output.row(y), x);
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
HWY_EXPORT(scaledRows);
} // namespace

void drawScaled(const TextureView& picture, bool mirror, Rows rows, PixelBuffer& output) {
    HWY_DYNAMIC_DISPATCH(scaledRows)(picture, mirror, rows, output);
}

} // namespace lanternfly
#endif
