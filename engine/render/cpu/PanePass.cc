#include "render/cpu/PanePass.h"

#include <algorithm>

#include "render/cpu/PaneField.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/cpu/PanePass.cc"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "render/cpu/Pixels-inl.h"

#ifndef LANTERNFLY_RENDER_CPU_PANE_PASS_PARAMETERS
#define LANTERNFLY_RENDER_CPU_PANE_PASS_PARAMETERS
namespace lanternfly {
namespace {

struct PaneParameters {
    PaneField field;
    float opacity;
    float shadowRadius, shadowStrength, perShadowRadius;
    float rimWidth, perRimWidth, rimMin, rimMax;
    float specularStart, perSpecularHeight, specularIntensity;
};

} // namespace
} // namespace lanternfly
#endif

HWY_BEFORE_NAMESPACE();
namespace lanternfly {
namespace {
namespace HWY_NAMESPACE {

using namespace lanternfly::HWY_NAMESPACE; // NOLINT

class PaneRowDrawer {
public:
    PaneRowDrawer(const PaneParameters& p, const TextureView& slide, const int8_t* dither, int y,
                  uint8_t* out)
        : _p(p), _slide(slide), _dither(dither), _row(p.field, y), _out(out) {}

    HWY_INLINE void draw(size_t x) const {
        const auto point = _row.at(x);
        const Mask isReached =
            hn::And(point.isInQuad,
                    hn::Le(point.distance, set(std::max(_p.shadowRadius, _p.field.maxEdgeWidth))));
        if (hn::AllFalse(floats, isReached)) return;
        const float flatDepth = -std::max(_p.rimWidth, _p.field.maxEdgeWidth);
        const Mask isFlat = hn::And(point.isInQuad, hn::Le(point.distance, set(flatDepth)));
        if (hn::AllTrue(floats, isFlat))
            drawFlat(x, point);
        else if (hn::AllTrue(floats, hn::Ge(point.distance, set(_p.field.maxEdgeWidth))))
            drawShadow(x, point);
        else
            drawEdge(x, point);
    }

private:
    // Both in 0…255 steps.
    HWY_INLINE Floats specular(Floats v) const {
        const Floats t = hn::Mul(hn::Sub(v, set(_p.specularStart)), set(_p.perSpecularHeight));
        return hn::Mul(smooth(t), set(_p.specularIntensity * 255));
    }
    HWY_INLINE Floats rim(Floats distance, Floats v) const {
        const Floats t = hn::Mul(hn::Add(distance, set(_p.rimWidth)), set(_p.perRimWidth));
        const Floats strength = mix(set(_p.rimMin * 255), set(_p.rimMax * 255), clamp01(v));
        return hn::Mul(smooth(t), strength);
    }
    static HWY_INLINE Floats toUv(Floats paneCoordinate) {
        return hn::Add(hn::Mul(paneCoordinate, set(0.5f)), set(0.5f));
    }
    static HWY_INLINE Bgra lit(const Bgra& c, Floats light, Floats alpha) {
        return {hn::Mul(hn::Add(c.b, light), alpha), hn::Mul(hn::Add(c.g, light), alpha),
                hn::Mul(hn::Add(c.r, light), alpha), hn::Mul(alpha, set(255))};
    }
    HWY_INLINE Floats shadow(Floats distance) const {
        const Floats reach = hn::Mul(hn::Max(distance, hn::Zero(floats)), set(_p.perShadowRadius));
        const Floats fall = hn::Sub(set(1), smooth(reach));
        return hn::Mul(hn::Mul(fall, fall), set(_p.shadowStrength * _p.opacity));
    }
    HWY_INLINE Floats dithered(size_t x, Floats shadowAlpha) const {
        const hn::Rebind<int8_t, IntTag> bytes;
        const Ints steps = hn::PromoteTo(ints, hn::LoadU(bytes, _dither + x));
        const Floats jitter =
            hn::Mul(hn::ConvertTo(floats, steps), set(1 / (DitherTable::stepsPerUnit * 255)));
        return hn::Max(hn::Add(shadowAlpha, jitter), hn::Zero(floats));
    }

    // Inside, beyond rim and edge: content and specular.
    HWY_INLINE void drawFlat(size_t x, const PaneRow::Point& point) const {
        const Floats u = toUv(point.x);
        const Floats v = toUv(point.y);
        const Bgra content = sample(_slide, u, v);
        const Floats alpha = hn::Mul(content.a, set(_p.opacity / 255));
        Bgra source = lit(content, specular(v), alpha);
        if (hn::AllTrue(floats, hn::Ge(source.a, set(255)))) {
            storePixels(
                pack({clamp255(source.b), clamp255(source.g), clamp255(source.r), set(255)}), _out,
                x);
            return;
        }
        source.a = hn::Add(source.a, hn::Mul(dithered(x, hn::Zero(floats)), set(255)));
        storePixels(blendOver(source, loadPixels(_out, x)), _out, x);
    }

    // Outside, beyond the edge: only the shadow darkens what is there.
    HWY_INLINE void drawShadow(size_t x, const PaneRow::Point& point) const {
        const Mask isDrawn = hn::And(point.isInQuad, hn::Le(point.distance, set(_p.shadowRadius)));
        const Floats alpha = hn::IfThenElseZero(isDrawn, dithered(x, shadow(point.distance)));
        const Floats zero = hn::Zero(floats);
        storePixels(blendOver({zero, zero, zero, hn::Mul(alpha, set(255))}, loadPixels(_out, x)),
                    _out, x);
    }

    HWY_INLINE void drawEdge(size_t x, const PaneRow::Point& point) const {
        const Floats inside = PaneRow::insideMask(point.distance, _row.edgeWidth(point));
        const Floats u = toUv(point.x);
        const Floats v = toUv(point.y);
        const Bgra content = sample(_slide, clamp01(u), clamp01(v));
        const Floats alpha = hn::Mul(hn::Mul(content.a, set(_p.opacity / 255)), inside);
        Bgra source = lit(content, hn::Add(rim(point.distance, v), specular(v)), alpha);
        const Floats outside = hn::Sub(set(1), inside);
        const Floats shadowAlpha = dithered(x, hn::Mul(shadow(point.distance), outside));
        source.a = hn::Add(source.a, hn::Mul(shadowAlpha, set(255)));
        const Mask isFar =
            hn::And(hn::Lt(inside, set(minVisible)), hn::Gt(point.distance, set(_p.shadowRadius)));
        const Mask isDrawn = hn::AndNot(isFar, point.isInQuad);
        const Ints below = loadPixels(_out, x);
        const Ints blended = blendOver(source, below);
        storePixels(hn::IfThenElse(hn::RebindMask(ints, isDrawn), blended, below), _out, x);
    }

    const PaneParameters& _p;
    const TextureView& _slide;
    const int8_t* _dither;
    PaneRow _row;
    uint8_t* _out;
};

void paneRows(const PaneParameters& p, const TextureView& slide, const DitherTable& dither,
              const PixelRect& rect, Rows rows, PixelBuffer& output) {
    const size_t step = lanes();
    // Rows of pixel buffers are padded to whole vectors, so blocks need no tails.
    const size_t first = static_cast<size_t>(rect.x0) / step * step;
    for (int y = rows.y0; y < rows.y1; ++y) {
        const PaneRowDrawer drawer(p, slide, dither.row(y), y, output.row(y));
        for (size_t x = first; x < static_cast<size_t>(rect.x1); x += step)
            drawer.draw(x);
    }
}

} // namespace HWY_NAMESPACE
} // namespace
} // namespace lanternfly
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lanternfly {
namespace {

HWY_EXPORT(paneRows);

PaneParameters parameters(const PaneDraw& draw) {
    const SlideUniforms& u = draw.uniforms;
    const auto per = [](float span) { return 1 / std::max(span, minSmoothstepSpan); };
    return {.field = PaneField::make(draw.place, u.params.y, u.params.z),
            .opacity = u.params.x,
            .shadowRadius = u.glass.x,
            .shadowStrength = u.glass.y,
            .perShadowRadius = per(u.glass.x),
            .rimWidth = u.glass.z,
            .perRimWidth = per(u.glass.z),
            .rimMin = u.glass2.x,
            .rimMax = u.glass2.y,
            .specularStart = 1 - u.glass.w,
            .perSpecularHeight = per(u.glass.w),
            .specularIntensity = u.glass2.z};
}

} // namespace

void drawPane(const PaneDraw& draw, const TextureView& slide, const DitherTable& dither, Rows rows,
              PixelBuffer& output) {
    rows = rows.in(draw.place.rect);
    if (rows.y0 >= rows.y1) return;
    HWY_DYNAMIC_DISPATCH(paneRows)
    (parameters(draw), slide, dither, draw.place.rect, rows, output);
}

} // namespace lanternfly
#endif
