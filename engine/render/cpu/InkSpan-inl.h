// A row of neighbouring pixels of ink: how opaque it is in each of them. Included once for every
// instruction set.
#if defined(LANTERNFLY_RENDER_CPU_INK_SPAN_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef LANTERNFLY_RENDER_CPU_INK_SPAN_INL_H_
#undef LANTERNFLY_RENDER_CPU_INK_SPAN_INL_H_
#else
#define LANTERNFLY_RENDER_CPU_INK_SPAN_INL_H_
#endif

#include <algorithm>

#include "render/Uniforms.h"
#include "render/cpu/InkBlend-inl.h"
#include "render/cpu/InkPlane-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lanternfly::HWY_NAMESPACE {

HWY_INLINE InkFloats inkSet(float value) {
    return hn::Set(inkFloats, value);
}
HWY_INLINE InkFloats inkBounded(InkFloats v, float high) {
    return hn::Min(hn::Max(v, hn::Zero(inkFloats)), inkSet(high));
}
// smoothstep of what is within 0…1.
HWY_INLINE InkFloats inkCoverage(InkFloats within) {
    const InkFloats t = inkBounded(within, 1);
    return hn::Mul(hn::Mul(t, t), hn::Sub(inkSet(3), hn::Add(t, t)));
}

// Ink of one width and one opacity: only the way from the centre line differs.
class EvenInk {
public:
    static constexpr int attributeCount = 1;

    HWY_INLINE EvenInk(const InkPlane& plane, float widthScale, float opacity) {
        HWY_ALIGN float at[4];
        HWY_ALIGN float perPixel[4];
        hn::Store(plane.atA, vertexInk, at);
        hn::Store(plane.perPixel(), vertexInk, perPixel);
        const float perSpan = 1 / std::max(at[2] - at[1], minFeatherSpan);
        const float opaque = std::clamp(at[3] * opacity, 0.f, inkOpaque);
        _offsetPerPixel = inkSet(perPixel[0]);
        _perSpan = inkSet(perSpan);
        _reach = inkSet(1 + at[1] * widthScale * perSpan);
        _opacity3 = inkSet(3 * opaque);
        _opacity2 = inkSet(2 * opaque);
    }
    HWY_INLINE InkFloats at(const float* start, InkFloats pixels) const {
        const InkFloats offset = hn::Add(inkSet(start[0]), hn::Mul(_offsetPerPixel, pixels));
        // The coverage, with the opacity multiplied in.
        const InkFloats t = inkBounded(hn::Sub(_reach, hn::Mul(hn::Abs(offset), _perSpan)), 1);
        return hn::Mul(hn::Mul(t, t), hn::Sub(_opacity3, hn::Mul(t, _opacity2)));
    }

private:
    InkFloats _offsetPerPixel, _perSpan, _reach, _opacity3, _opacity2;
};

// Ink whose every attribute runs along the row.
class VaryingInk {
public:
    static constexpr int attributeCount = 4;

    HWY_INLINE VaryingInk(const InkPlane& plane, float widthScale, float opacity)
        : _widthScale(inkSet(widthScale)), _fullOpacity(inkSet(opacity)) {
        hn::Store(plane.perPixel(), vertexInk, _perPixel);
    }
    HWY_INLINE InkFloats at(const float* start, InkFloats pixels) const {
        const auto attribute = [&](int i) {
            return hn::Add(inkSet(start[i]), hn::Mul(inkSet(_perPixel[i]), pixels));
        };
        const InkFloats core = attribute(1);
        const InkFloats span = hn::Max(hn::Sub(attribute(2), core), inkSet(minFeatherSpan));
        const InkFloats beyond = hn::Sub(hn::Abs(attribute(0)), hn::Mul(core, _widthScale));
        const InkFloats coverage = inkCoverage(hn::Sub(inkSet(1), hn::Div(beyond, span)));
        return inkBounded(hn::Mul(hn::Mul(attribute(3), coverage), _fullOpacity), inkOpaque);
    }

private:
    InkFloats _widthScale, _fullOpacity;
    HWY_ALIGN float _perPixel[4];
};

// Blends the pixels x0 … x1 - 1 of a row of `rowPixels`, in whole vectors; `start` has the ink's
// attributes at x0. Most spans are short and take fewest vectors from their own start on; next to
// the end of the row's memory they take vectors of the row, so that none reaches beyond it.
template <typename Ink>
HWY_INLINE void blendInkSpan(const Ink& ink, const InkColour& colour, const float* start, int x0,
                             int x1, uint8_t* row, int rowPixels) {
    const InkFloats end = inkSet(static_cast<float>(x1 - x0));
    const int step = inkLanes();
    for (int x = x1 + step <= rowPixels ? x0 : x0 / step * step; x < x1; x += step) {
        const InkFloats pixels = hn::Iota(inkFloats, static_cast<float>(x - x0));
        const auto isIn = hn::And(hn::Ge(pixels, hn::Zero(inkFloats)), hn::Lt(pixels, end));
        const InkFloats opacity = hn::IfThenElseZero(isIn, ink.at(start, pixels));
        storeInkPixels(colour.over(loadInkPixels(row, x), inkOpacity(opacity)), row, x);
    }
}

} // namespace lanternfly::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
