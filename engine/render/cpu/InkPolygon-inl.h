// Which pixels a triangle or a four-sided piece of a strip covers. Included once for every
// instruction set.
#if defined(LANTERNFLY_RENDER_CPU_INK_POLYGON_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef LANTERNFLY_RENDER_CPU_INK_POLYGON_INL_H_
#undef LANTERNFLY_RENDER_CPU_INK_POLYGON_INL_H_
#else
#define LANTERNFLY_RENDER_CPU_INK_POLYGON_INL_H_
#endif

#include <bit>

#include "render/cpu/InkPlane-inl.h"
#include "render/cpu/Pixels-inl.h"
#include "render/cpu/Rows.h"

HWY_BEFORE_NAMESPACE();
namespace lanternfly::HWY_NAMESPACE {

// One side of a polygon, from its upper to its lower end. Both polygons of a shared side compute
// the same numbers from it, so that no pixel of it is drawn twice or left out.
struct Side {
    float x = 0, y = 0, endY = 0, perRow = 0;

    Side() = default;
    HWY_INLINE Side(const StripVertex& one, const StripVertex& other) {
        const bool isDown = one.y < other.y || (one.y == other.y && one.x <= other.x);
        const StripVertex& upper = isDown ? one : other;
        const StripVertex& lower = isDown ? other : one;
        x = upper.x;
        y = upper.y;
        endY = lower.y;
        perRow = endY > y ? (lower.x - x) / (endY - y) : 0;
    }
    HWY_INLINE Floats at(Floats rowCentres) const {
        return hn::Add(hn::Mul(hn::Sub(rowCentres, set(y)), set(perRow)), set(x));
    }
    HWY_INLINE Mask crosses(Floats rowCentres) const {
        return hn::And(hn::Ge(rowCentres, set(y)), hn::Lt(rowCentres, set(endY)));
    }
};

// The first pixel whose centre is at or beyond a position.
HWY_INLINE int firstCentre(float position, float limit) {
    const float t = std::min(std::max(position - 0.5f, 0.f), limit);
    const int pixel = static_cast<int>(t);
    return pixel + (t > static_cast<float>(pixel));
}
HWY_INLINE Floats firstCentres(Floats positions, float limit) {
    const Floats t = hn::Min(hn::Max(hn::Sub(positions, set(0.5f)), hn::Zero(floats)), set(limit));
    const Floats pixel = hn::ConvertTo(floats, hn::ConvertTo(ints, t));
    return hn::Add(pixel, hn::IfThenElseZero(hn::Gt(t, pixel), set(1)));
}

// A convex polygon of three or four corners that stand around it in order, in some rows of a frame.
template <int cornerCount>
class InkPolygon {
public:
    HWY_INLINE InkPolygon(const StripVertex* const (&corners)[cornerCount], float2 frame, Rows rows)
        : _frame(frame) {
        float left = corners[0]->x, right = left, top = corners[0]->y, bottom = top;
        for (int i = 0; i < cornerCount; ++i) {
            const StripVertex& corner = *corners[i];
            left = std::min(left, corner.x);
            right = std::max(right, corner.x);
            top = std::min(top, corner.y);
            bottom = std::max(bottom, corner.y);
            _sides[i] = Side(corner, *corners[(i + 1) % cornerCount]);
        }
        rows = rows.in(Rows{firstCentre(top, frame.y), firstCentre(bottom, frame.y)});
        // Sides are rounded, and may reach a pixel beyond their ends.
        _rect = {firstCentre(left - 1, frame.x), rows.y0, firstCentre(right + 1, frame.x), rows.y1};
    }

    // Holds all its pixels.
    const PixelRect& rect() const { return _rect; }

    // Calls body(y, x0, x1, attributes at x0) for every row of pixels x0 … x1 - 1; of the plane's
    // attributes the first `attributeCount`.
    template <int attributeCount, typename Body>
    HWY_INLINE void forEachSpan(const InkPlane& plane, const Body& body) const {
        HWY_ALIGN float firsts[maxLanes];
        HWY_ALIGN float ends[maxLanes];
        HWY_ALIGN float starts[attributeCount][maxLanes];
        HWY_ALIGN float atA[4];
        HWY_ALIGN float towardB[4];
        HWY_ALIGN float towardC[4];
        hn::Store(plane.atA, vertexInk, atA);
        hn::Store(plane.towardB, vertexInk, towardB);
        hn::Store(plane.towardC, vertexInk, towardC);
        for (int y = _rect.y0; y < _rect.y1; y += static_cast<int>(lanes())) {
            const Floats centres = hn::Iota(floats, static_cast<float>(y) + 0.5f);
            Floats low = set(_frame.x), high = hn::Zero(floats);
            for (const Side& side : _sides) {
                const Mask crosses = side.crosses(centres);
                const Floats x = side.at(centres);
                low = hn::IfThenElse(crosses, hn::Min(low, x), low);
                high = hn::IfThenElse(crosses, hn::Max(high, x), high);
            }
            const Floats x0 = firstCentres(low, _frame.x);
            const Floats x1 = firstCentres(high, _frame.x);
            const Mask isCovered =
                hn::And(hn::Lt(x0, x1), hn::Lt(centres, set(static_cast<float>(_rect.y1))));
            uint8_t maskBytes[8] = {};
            hn::StoreMaskBits(floats, isCovered, maskBytes);
            auto rows = static_cast<uint32_t>(maskBytes[0] | maskBytes[1] << 8);
            if (rows == 0) continue;
            const Floats dx = hn::Add(x0, set(0.5f - plane.x));
            const Floats dy = hn::Sub(centres, set(plane.y));
            const auto weight = [&](float perX, float perY) {
                const Floats w = hn::Add(hn::Mul(dx, set(perX)), hn::Mul(dy, set(perY)));
                return hn::Min(hn::Max(w, hn::Zero(floats)), set(plane.maxWeight));
            };
            const Floats ofB = weight(plane.bX, plane.bY);
            const Floats ofC = weight(plane.cX, plane.cY);
            hn::Store(x0, floats, firsts);
            hn::Store(x1, floats, ends);
            for (int i = 0; i < attributeCount; ++i)
                hn::Store(hn::Add(set(atA[i]), hn::Add(hn::Mul(set(towardB[i]), ofB),
                                                       hn::Mul(set(towardC[i]), ofC))),
                          floats, starts[i]);
            for (; rows != 0; rows &= rows - 1) {
                const auto row = static_cast<unsigned>(std::countr_zero(rows));
                float start[attributeCount];
                for (int i = 0; i < attributeCount; ++i)
                    start[i] = starts[i][row];
                body(y + static_cast<int>(row), static_cast<int>(firsts[row]),
                     static_cast<int>(ends[row]), start);
            }
        }
    }

private:
    static constexpr size_t maxLanes = HWY_MAX_BYTES / sizeof(float);

    const float2 _frame;
    Side _sides[cornerCount];
    PixelRect _rect;
};

} // namespace lanternfly::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
