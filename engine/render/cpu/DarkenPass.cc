#include "render/cpu/DarkenPass.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/cpu/DarkenPass.cc"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "render/cpu/Pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lanternfly {
namespace {
namespace HWY_NAMESPACE {

using namespace lanternfly::HWY_NAMESPACE; // NOLINT

void darkenedRows(float alpha, Rows rows, PixelBuffer& output) {
    const auto width = static_cast<size_t>(output.width());
    const Floats zero = hn::Zero(floats);
    const Bgra black{zero, zero, zero, set(alpha * 255)};
    for (int y = rows.y0; y < rows.y1; ++y)
        for (size_t x = 0; x < width; x += lanes())
            storePixels(blendOver(black, loadPixels(output.row(y), x)), output.row(y), x);
}

} // namespace HWY_NAMESPACE
} // namespace
} // namespace lanternfly
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lanternfly {
namespace {
HWY_EXPORT(darkenedRows);
} // namespace

void darken(float alpha, Rows rows, PixelBuffer& output) {
    HWY_DYNAMIC_DISPATCH(darkenedRows)(alpha, rows, output);
}

} // namespace lanternfly
#endif
