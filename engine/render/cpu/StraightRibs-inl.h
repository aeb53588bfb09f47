// Leaving out the ribs of a strip that its shape does not need: a smoothed stroke has many more.
// Included once for every instruction set.
#if defined(LANTERNFLY_RENDER_CPU_STRAIGHT_RIBS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef LANTERNFLY_RENDER_CPU_STRAIGHT_RIBS_INL_H_
#undef LANTERNFLY_RENDER_CPU_STRAIGHT_RIBS_INL_H_
#else
#define LANTERNFLY_RENDER_CPU_STRAIGHT_RIBS_INL_H_
#endif

#include <limits>

#include "render/cpu/StripRib-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lanternfly::HWY_NAMESPACE {

// How far the edge of a stroke may be moved by leaving out ribs, and its widths along with it: a
// soft edge 3.5 pixels wide changes by less than a 255th.
inline constexpr float maxRibErrorPX = 0.005f;
inline constexpr float maxAlphaError = 0.0015f;

// How an edge of a strip may go on straight, and its ink linearly, from a vertex past all the
// vertices that it has passed (the sector method of line simplification, Williams 1978).
class EdgeSector {
public:
    HWY_INLINE EdgeSector(const StripVertex& from, const StripVertex& first, VertexInk maxInkError)
        : _from(from), _alongX(first.x - from.x), _alongY(first.y - from.y),
          _passed(_alongX * _alongX + _alongY * _alongY),
          _maxError(maxRibErrorPX * std::sqrt(_passed)), _low(-_maxError / _passed),
          _high(_maxError / _passed), _fromInk(from.attributes()), _maxInkError(maxInkError) {
        narrowInk(first, 1 / _passed, hn::Set(vertexInk, -infinite), hn::Set(vertexInk, infinite));
    }
    // Whether the edge may run straight to the vertex; if so it counts as passed.
    HWY_INLINE bool pass(const StripVertex& to) {
        const float dx = to.x - _from.x, dy = to.y - _from.y;
        const float along = dx * _alongX + dy * _alongY;
        if (!(along > _passed)) return false;
        const float perAlong = 1 / along;
        const float slope = (dy * _alongX - dx * _alongY) * perAlong;
        const VertexInk inkSlope = inkSlopeOf(to, perAlong);
        if (!(slope >= _low && slope <= _high) ||
            !hn::AllTrue(vertexInk, hn::And(hn::Ge(inkSlope, _lowInk), hn::Le(inkSlope, _highInk))))
            return false;
        _low = std::max(_low, slope - _maxError * perAlong);
        _high = std::min(_high, slope + _maxError * perAlong);
        narrowInk(to, perAlong, _lowInk, _highInk);
        _passed = along;
        return true;
    }

private:
    HWY_INLINE VertexInk inkSlopeOf(const StripVertex& to, float perAlong) const {
        return hn::Mul(hn::Sub(to.attributes(), _fromInk), hn::Set(vertexInk, perAlong));
    }
    HWY_INLINE void narrowInk(const StripVertex& to, float perAlong, VertexInk low,
                              VertexInk high) {
        const VertexInk slope = inkSlopeOf(to, perAlong);
        const VertexInk error = hn::Mul(_maxInkError, hn::Set(vertexInk, perAlong));
        _lowInk = hn::Max(low, hn::Sub(slope, error));
        _highInk = hn::Min(high, hn::Add(slope, error));
    }

    static constexpr float infinite = std::numeric_limits<float>::infinity();
    const StripVertex& _from;
    float _alongX, _alongY; // the first step, which slopes are measured against
    float _passed;
    float _maxError;
    float _low, _high;
    VertexInk _fromInk, _maxInkError;
    VertexInk _lowInk, _highInk;
};

// Whether a vertex may lie on the straight way from one to another, by a quick look that never
// takes a vertex for farther away than it is.
HWY_INLINE bool isNearWay(const StripVertex& from, const StripVertex& at, const StripVertex& to) {
    const float wayX = to.x - from.x, wayY = to.y - from.y;
    const float away = wayX * (at.y - from.y) - wayY * (at.x - from.x);
    constexpr float tolerance = 1.01f * maxRibErrorPX;
    return away * away <= tolerance * tolerance * (wayX * wayX + wayY * wayY);
}

class StraightRibs {
public:
    explicit StraightRibs(const StrokeStrip& strip)
        : _s(strip),
          _maxWidthError(maxRibErrorPX / std::max(std::abs(strip.pixelsPerUnit.x), 1e-6f)) {}

    // Moves `to`, the rib of the index, on to the last rib that can stand for those before it, and
    // gives its index.
    HWY_INLINE int pass(const Rib& from, Rib& to, int index, int ribCount) const {
        if (index + 1 == ribCount || !from.isUsable() || !to.isUsable()) return index;
        Rib next = stripRib(_s, index + 1);
        if (!next.isUsable() || !isNearWay(from.left, to.left, next.left) ||
            !isNearWay(from.right, to.right, next.right))
            return index;
        HWY_ALIGN const float errors[] = {_maxWidthError, _maxWidthError, _maxWidthError,
                                          maxAlphaError};
        const VertexInk maxInkError = hn::Load(vertexInk, errors);
        EdgeSector left(from.left, to.left, maxInkError);
        EdgeSector right(from.right, to.right, maxInkError);
        while (next.isUsable() && left.pass(next.left) && right.pass(next.right)) {
            to = next;
            if (++index + 1 == ribCount) break;
            next = stripRib(_s, index + 1);
        }
        return index;
    }

private:
    const StrokeStrip& _s;
    const float _maxWidthError; // in units of the authoring viewport
};

} // namespace lanternfly::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
