#include "render/cpu/PinchBarPass.h"

#include "render/cpu/PaneField.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/cpu/PinchBarPass.cc"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "render/cpu/Pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lanternfly {
namespace {
namespace HWY_NAMESPACE {

using namespace lanternfly::HWY_NAMESPACE; // NOLINT
using Look = PinchBarLook;

void pinchBarRows(const PaneField& field, float opacity, const PixelRect& rect, Rows rows,
                  PixelBuffer& output) {
    const size_t step = lanes();
    const Floats one = set(1);
    for (int y = rows.y0; y < rows.y1; ++y) {
        const PaneRow row(field, y);
        uint8_t* out = output.row(y);
        for (size_t x = static_cast<size_t>(rect.x0) / step * step;
             x < static_cast<size_t>(rect.x1); x += step) {
            const auto point = row.at(x);
            const Floats edge = row.edgeWidth(point);
            const Floats inside = PaneRow::insideMask(point.distance, edge);
            const Floats v = clamp01(hn::Add(hn::Mul(point.y, set(0.5f)), set(0.5f)));

            const Floats reach =
                hn::Mul(hn::Max(point.distance, hn::Zero(floats)), set(1 / Look::shadowRadius));
            const Floats fall = hn::Sub(one, smooth(reach));
            const Floats shadow = hn::Mul(hn::Mul(hn::Mul(fall, fall), set(Look::shadowStrength)),
                                          hn::Mul(hn::Sub(one, inside), set(opacity)));

            const Floats depth = hn::Div(point.distance, edge);
            const Floats band =
                hn::Sub(smooth(hn::Add(depth, set(2))), smooth(hn::Add(depth, one)));
            const Floats stroke = hn::Mul(
                hn::Mul(mix(set(Look::strokeLow), set(Look::strokeHigh), v), band), set(opacity));
            const Floats fill = hn::Mul(
                hn::Mul(mix(set(Look::fillLow), set(Look::fillHigh), v), inside), set(opacity));

            const auto colour = [&](float fillColour) {
                return hn::Mul(hn::Add(hn::Mul(fill, set(fillColour)), stroke), set(255));
            };
            const Bgra source{colour(Look::fillBlue), colour(Look::fillGreen),
                              colour(Look::fillRed),
                              hn::Mul(hn::Add(hn::Add(fill, stroke), shadow), set(255))};
            const Ints below = loadPixels(out, x);
            const Ints blended = blendOver(source, below);
            storePixels(hn::IfThenElse(hn::RebindMask(ints, point.isInQuad), blended, below), out,
                        x);
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
HWY_EXPORT(pinchBarRows);
} // namespace

void drawPinchBar(const PinchBarDraw& draw, Rows rows, PixelBuffer& output) {
    rows = rows.in(draw.place.rect);
    if (rows.y0 >= rows.y1) return;
    const float4& p = draw.uniforms.params;
    HWY_DYNAMIC_DISPATCH(pinchBarRows)
    (PaneField::make(draw.place, p.x, 1), p.y, draw.place.rect, rows, output);
}

} // namespace lanternfly
#endif
