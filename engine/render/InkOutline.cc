#include "render/InkOutline.h"

#include <cmath>
#include <limits>

namespace lanternfly {

InkOutline::Edges::Edges(const Rib& rib)
    : left(rib.middle + rib.normal * rib.featherHalfWidth),
      right(rib.middle - rib.normal * rib.featherHalfWidth), core(rib.coreHalfWidth),
      feather(rib.featherHalfWidth), alpha(rib.alpha) {}

void InkOutline::clear() {
    _vertices.clear();
    _last.reset();
}

void InkOutline::add(const Rib& rib) {
    const Edges next(rib);
    if (!_last) {
        aim(next);
    } else if (!pass(next)) {
        keep(*_last);
        aim(next);
    }
    _last = next;
}

void InkOutline::addKept(const Rib& rib) {
    const Edges next(rib);
    if (_last && !pass(next)) keep(*_last);
    _last.reset();
    keep(next);
}

// The sector method of line simplification (Williams 1978), for both edges and what they carry.
void InkOutline::aim(const Edges& first) {
    const float2 way = first.left - _kept.left + first.right - _kept.right;
    const float length = std::sqrt(way.x * way.x + way.y * way.y);
    _ahead = length > 0 ? way / length : float2(0);
    _left = _right = {};
    // An edge that runs back, as at the inside of a bend, is not straight ahead of anything.
    if (!pass(first)) _left.passedPX = std::numeric_limits<float>::infinity();
}

bool InkOutline::pass(const Edges& next) {
    const float2 left = next.left - _kept.left, right = next.right - _kept.right;
    const float leftPX = left.x * _ahead.x + left.y * _ahead.y;
    const float rightPX = right.x * _ahead.x + right.y * _ahead.y;
    if (!(leftPX > _left.passedPX && rightPX > _right.passedPX)) return false;
    const float perLeft = 1 / leftPX, perRight = 1 / rightPX;
    const float leftSlope = (_ahead.x * left.y - _ahead.y * left.x) * perLeft;
    const float rightSlope = (_ahead.x * right.y - _ahead.y * right.x) * perRight;
    const float core = next.core - _kept.core, alpha = next.alpha - _kept.alpha;
    if (!_left.side.holds(leftSlope) || !_right.side.holds(rightSlope) ||
        !_left.core.holds(core * perLeft) || !_right.core.holds(core * perRight) ||
        !_left.alpha.holds(alpha * perLeft) || !_right.alpha.holds(alpha * perRight))
        return false;
    _left.side.narrow(leftSlope, maxErrorPX * perLeft);
    _right.side.narrow(rightSlope, maxErrorPX * perRight);
    _left.core.narrow(core * perLeft, maxErrorPX * perLeft);
    _right.core.narrow(core * perRight, maxErrorPX * perRight);
    _left.alpha.narrow(alpha * perLeft, maxAlphaError * perLeft);
    _right.alpha.narrow(alpha * perRight, maxAlphaError * perRight);
    _left.passedPX = leftPX;
    _right.passedPX = rightPX;
    return true;
}

void InkOutline::keep(const Edges& edges) {
    _kept = edges;
    _vertices.insert(_vertices.end(), {edges.left.x, edges.left.y, edges.feather, edges.core,
                                       edges.feather, edges.alpha, edges.right.x, edges.right.y,
                                       -edges.feather, edges.core, edges.feather, edges.alpha});
}

} // namespace lanternfly
