// The ink of a triangle or of a flat piece of a strip. Included once for every instruction set.
#if defined(LANTERNFLY_RENDER_CPU_INK_PLANE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef LANTERNFLY_RENDER_CPU_INK_PLANE_INL_H_
#undef LANTERNFLY_RENDER_CPU_INK_PLANE_INL_H_
#else
#define LANTERNFLY_RENDER_CPU_INK_PLANE_INL_H_
#endif

#include "render/cpu/StripRib-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lanternfly::HWY_NAMESPACE {

inline constexpr double minTriangleArea = 1e-9; // pixels; a thinner one holds no pixel's centre
// How far four corners may be from one plane to be drawn as one, in pixels and in opacity, and how
// far the fourth from the plane of the others.
inline constexpr float maxPlaneError = 0.003f;
inline constexpr float maxCornerError = 4 * maxPlaneError;
inline constexpr float maxPlaneWeight = 2; // of a corner; a longer one is no piece of a stroke

// A value at the corner `a`, and the weights of the way towards two other corners.
struct InkPlane {
    float x = 0, y = 0; // of a
    float bX = 0, bY = 0, cX = 0, cY = 0;
    float maxWeight = 1;
    VertexInk atA, towardB, towardC;
    bool hasArea;

    HWY_INLINE InkPlane(const StripVertex& a, const StripVertex& b, const StripVertex& c)
        : x(a.x), y(a.y), atA(a.attributes()), towardB(hn::Sub(b.attributes(), atA)),
          towardC(hn::Sub(c.attributes(), atA)) {
        const double area = cross(a, b, c); // twice, signed
        hasArea = std::abs(area) > minTriangleArea;
        if (!hasArea) return;
        const double perArea = 1 / area;
        bX = static_cast<float>((c.y - a.y) * perArea);
        bY = static_cast<float>(-(c.x - a.x) * perArea);
        cX = static_cast<float>(-(b.y - a.y) * perArea);
        cY = static_cast<float>((b.x - a.x) * perArea);
    }
    HWY_INLINE VertexInk perPixel() const {
        return hn::Add(hn::Mul(towardB, hn::Set(vertexInk, bX)),
                       hn::Mul(towardC, hn::Set(vertexInk, cX)));
    }
    HWY_INLINE VertexInk at(float weightOfB, float weightOfC) const {
        return hn::Add(atA, hn::Add(hn::Mul(towardB, hn::Set(vertexInk, weightOfB)),
                                    hn::Mul(towardC, hn::Set(vertexInk, weightOfC))));
    }
    // Whether the plane can also stand for the corner across from `a`; it is then moved to be
    // equally near to all four. Where a stroke grows or tapers they never lie on one.
    HWY_INLINE bool fit(const StripVertex& d) {
        const float dx = d.x - x, dy = d.y - y;
        const float ofB = dx * bX + dy * bY, ofC = dx * cX + dy * cY;
        if (!(ofB >= 0 && ofB <= maxPlaneWeight && ofC >= 0 && ofC <= maxPlaneWeight)) return false;
        const VertexInk error = hn::Sub(d.attributes(), at(ofB, ofC));
        if (!hn::AllTrue(vertexInk, hn::Le(hn::Abs(error), hn::Set(vertexInk, maxCornerError))))
            return false;
        const VertexInk half = hn::Mul(error, hn::Set(vertexInk, 0.5f));
        atA = hn::Sub(atA, hn::Mul(half, hn::Set(vertexInk, 0.5f)));
        towardB = hn::Add(towardB, half);
        towardC = hn::Add(towardC, half);
        return true;
    }
    // Whether widths and opacity are the same everywhere, as they are in most of a stroke.
    HWY_INLINE bool isEven() const {
        HWY_ALIGN static constexpr float offsetOnly[] = {1, 0, 0, 0};
        const auto isOffset = hn::Ne(hn::Load(vertexInk, offsetOnly), hn::Zero(vertexInk));
        const auto isSame =
            hn::And(hn::Eq(towardB, hn::Zero(vertexInk)), hn::Eq(towardC, hn::Zero(vertexInk)));
        return hn::AllTrue(vertexInk, hn::Or(isOffset, isSame));
    }
};

} // namespace lanternfly::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
