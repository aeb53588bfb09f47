#include "render/cpu/BackdropPass.h"

#include "render/cpu/PaneField.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/cpu/BackdropPass.cc"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "render/cpu/Pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lanternfly {
namespace {
namespace HWY_NAMESPACE {

using namespace lanternfly::HWY_NAMESPACE; // NOLINT

void backdropRow(const PaneField& field, float opacity, const PixelRect& rect,
                 const uint8_t* blurred, int blurredX0, int y, uint8_t* output) {
    const size_t step = lanes();
    const PaneRow row(field, y);
    for (size_t x = static_cast<size_t>(rect.x0) / step * step; x < static_cast<size_t>(rect.x1);
         x += step) {
        const auto point = row.at(x);
        const Mask isNear =
            hn::And(point.isInQuad, hn::Lt(point.distance, set(field.maxEdgeWidth)));
        if (hn::AllFalse(floats, isNear)) continue;
        const Floats inside = PaneRow::insideMask(point.distance, row.edgeWidth(point));
        const Mask isDrawn = hn::And(isNear, hn::Ge(inside, set(minVisible)));
        const Floats alpha = hn::IfThenElseZero(isDrawn, hn::Mul(inside, set(opacity)));
        const Bgra c = unpack(loadPixels(blurred, x - static_cast<size_t>(blurredX0)));
        const Bgra source{hn::Mul(c.b, alpha), hn::Mul(c.g, alpha), hn::Mul(c.r, alpha),
                          hn::Mul(alpha, set(255))};
        storePixels(blendOver(source, loadPixels(output, x)), output, x);
    }
}

} // namespace HWY_NAMESPACE
} // namespace
} // namespace lanternfly
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lanternfly {
namespace {
HWY_EXPORT(backdropRow);
} // namespace

void drawBackdropRow(const BackdropDraw& draw, const uint8_t* blurred, int blurredX0, int y,
                     uint8_t* output) {
    const float4& p = draw.uniforms.params;
    HWY_DYNAMIC_DISPATCH(backdropRow)
    (PaneField::make(draw.place, p.x, p.y), p.w, draw.place.rect, blurred, blurredX0, y, output);
}

} // namespace lanternfly
#endif
