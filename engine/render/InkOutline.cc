#include "render/InkOutline.h"

#include <cmath>
#include <iterator>

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
    if (!pass(next) && _last) {
        keep(*_last);
        pass(next);
    }
    _last = next;
}

void InkOutline::addKept(const Rib& rib) {
    const Edges next(rib);
    if (_last && !pass(next)) keep(*_last);
    keep(next);
}

bool InkOutline::pass(const Edges& next) {
    const float core = next.core - _kept.core, alpha = next.alpha - _kept.alpha;
    const bool isEven = core == 0 && alpha == 0;
    // Most of a stroke is even, and looked at quickly; where it begins or ends a rib is kept.
    if (_last && isEven != _isEven) return false;
    _isEven = isEven;
    return _left.pass(next.left - _kept.left, core, alpha, isEven) &&
           _right.pass(next.right - _kept.right, core, alpha, isEven);
}

bool InkOutline::Course::pass(float2 way, float core, float alpha, bool isEven) {
    if (_ahead == float2(0)) {
        const float way2 = way.x * way.x + way.y * way.y;
        if (way2 <= maxErrorPX * maxErrorPX)
            return isEven || (std::abs(core) <= maxErrorPX && std::abs(alpha) <= maxAlphaError);
        _ahead = way / std::sqrt(way2);
    }
    const float aheadPX = way.x * _ahead.x + way.y * _ahead.y;
    if (!(aheadPX > _passedPX)) return false;
    const float perAhead = 1 / aheadPX;
    const float slope = (_ahead.x * way.y - _ahead.y * way.x) * perAhead;
    if (!_side.holds(slope)) return false;
    _side.narrow(slope, maxErrorPX * perAhead);
    if (!isEven) {
        if (!_core.holds(core * perAhead) || !_alpha.holds(alpha * perAhead)) return false;
        _core.narrow(core * perAhead, maxErrorPX * perAhead);
        _alpha.narrow(alpha * perAhead, maxAlphaError * perAhead);
    }
    _passedPX = aheadPX;
    return true;
}

void InkOutline::keep(const Edges& edges) {
    _kept = edges;
    _last.reset();
    _left = _right = {};
    const float vertices[] = {edges.left.x,   edges.left.y, edges.feather, edges.core,
                              edges.feather,  edges.alpha,  edges.right.x, edges.right.y,
                              -edges.feather, edges.core,   edges.feather, edges.alpha};
    _vertices.insert(_vertices.end(), std::begin(vertices), std::end(vertices));
}

} // namespace lanternfly
