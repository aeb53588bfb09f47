#include "render/cpu/TwoHandDotsPass.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/cpu/TwoHandDotsPass.cc"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "render/cpu/Pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lanternfly {
namespace {
namespace HWY_NAMESPACE {

using namespace lanternfly::HWY_NAMESPACE; // NOLINT

void dotRows(const TwoHandDotsUniforms& uniforms, const PixelRect& rect, Rows rows,
             PixelBuffer& output) {
    const size_t step = lanes();
    const float4& p = uniforms.params;
    const float radius = uniforms.params2.z;
    const float frameAspect = uniforms.params2.w;
    const float softEdge = uniforms.tint.w;
    const float clipPerPixelX = 2 / static_cast<float>(output.width());
    const float clipPerPixelY = 2 / static_cast<float>(output.height());
    const auto coverage = [&](Floats clipX, float clipY, float2 centre, float opacity) {
        const Floats dx = hn::Mul(hn::Sub(clipX, set(centre.x)), set(frameAspect));
        const float dy = clipY - centre.y;
        const Floats distance = hn::Sqrt(hn::Add(hn::Mul(dx, dx), set(dy * dy)));
        const Floats t =
            hn::Mul(hn::Sub(distance, set(radius - softEdge)), set(1 / (2 * softEdge)));
        return hn::Mul(hn::Sub(set(1), smooth(t)), set(opacity));
    };
    for (int y = rows.y0; y < rows.y1; ++y) {
        const float clipY = 1 - (static_cast<float>(y) + 0.5f) * clipPerPixelY;
        uint8_t* out = output.row(y);
        for (size_t x = static_cast<size_t>(rect.x0) / step * step;
             x < static_cast<size_t>(rect.x1); x += step) {
            const Floats centres = hn::Iota(floats, static_cast<float>(x) + 0.5f);
            const Floats clipX = hn::Sub(hn::Mul(centres, set(clipPerPixelX)), set(1));
            const Floats alpha = hn::Max(coverage(clipX, clipY, {p.x, p.y}, uniforms.params2.x),
                                         coverage(clipX, clipY, {p.z, p.w}, uniforms.params2.y));
            // Whole vectors reach beyond the rectangle, where another one may begin.
            const Mask isDrawn =
                hn::And(hn::Ge(alpha, set(minVisible)),
                        hn::And(hn::Gt(centres, set(static_cast<float>(rect.x0))),
                                hn::Lt(centres, set(static_cast<float>(rect.x1)))));
            if (hn::AllFalse(floats, isDrawn)) continue;
            const Floats a = hn::Mul(hn::IfThenElseZero(isDrawn, alpha), set(255));
            const Bgra source{hn::Mul(a, set(uniforms.tint.b)), hn::Mul(a, set(uniforms.tint.g)),
                              hn::Mul(a, set(uniforms.tint.r)), a};
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
HWY_EXPORT(dotRows);
} // namespace

void drawTwoHandDots(const TwoHandDotsDraw& draw, Rows rows, PixelBuffer& output) {
    for (const PixelRect& rect : draw.rects) {
        const Rows covered = rows.in(rect);
        if (!rect.isEmpty() && covered.y0 < covered.y1)
            HWY_DYNAMIC_DISPATCH(dotRows)(draw.uniforms, rect, covered, output);
    }
}

} // namespace lanternfly
#endif
