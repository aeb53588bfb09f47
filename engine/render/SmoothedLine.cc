#include "render/SmoothedLine.h"

#include <array>
#include <cmath>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/SmoothedLine.cc"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#ifndef LANTERNFLY_RENDER_SMOOTHED_LINE_MIX
#define LANTERNFLY_RENDER_SMOOTHED_LINE_MIX
namespace lanternfly {
namespace {

constexpr size_t pointCount = SmoothedLine::perPoint;

// The points that a point becomes lie between nine steps: the first comes from the last point of
// the one before, the last leads to the first point of the next. Each step is a mix of the way to
// the point and the way on from it, in 64ths.
using Steps = std::array<float, pointCount + 1>;
constexpr Steps ofWayTo{8, 7, 6, 5, 4, 3, 2, 1, 0};
constexpr Steps ofWayOn{0, 1, 2, 3, 4, 5, 6, 7, 8};
// The ends of a line are no corners and stay where they are: steps next to them are longer.
constexpr Steps ofWayFromStart{27, 13, 8, 6, 4, 3, 2, 1, 0};
constexpr Steps ofWayToEnd{0, 1, 2, 3, 4, 6, 8, 13, 27};
constexpr float perStep = 1.f / 64;

struct Mix {
    Steps to{}, on{};         // of each step
    Steps behind{}, beyond{}; // where the points are, seen from the point that they come from

    constexpr Mix(const Steps& ofTo, const Steps& ofOn) : to(ofTo), on(ofOn) {
        for (size_t i = pointCount; i > 0; --i)
            behind[i - 1] = behind[i] + to[i];
        for (size_t i = 0; i < pointCount; ++i)
            beyond[i] = (i > 0 ? beyond[i - 1] : 0) + on[i];
    }
};

constexpr Mix mixes[2][2] = {{{ofWayTo, ofWayOn}, {ofWayTo, ofWayToEnd}},
                             {{ofWayFromStart, ofWayOn}, {ofWayFromStart, ofWayToEnd}}};

struct LineArrays {
    const double2* points;
    size_t count; // of points
    const float *wayX, *wayY;
    float *x, *y, *tangentX, *tangentY, *arc; // of the smoothed points
};

} // namespace
} // namespace lanternfly
#endif

HWY_BEFORE_NAMESPACE();
namespace lanternfly {
namespace {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Tag = hn::CappedTag<float, pointCount>;
using Floats = hn::Vec<Tag>;
constexpr Tag floats;

HWY_INLINE Floats length(Floats x, Floats y) {
    return hn::Sqrt(hn::Add(hn::Mul(x, x), hn::Mul(y, y)));
}

// Fills in what comes between the ends, and gives the way from the start to the last of it.
double smooth(const LineArrays& line) {
    const Floats zero = hn::Zero(floats);
    double arc = 0;
    for (size_t i = 1; i + 1 < line.count; ++i) {
        const Mix& mix = mixes[i == 1][i + 2 == line.count];
        const Floats toX = hn::Set(floats, line.wayX[i - 1] * perStep);
        const Floats toY = hn::Set(floats, line.wayY[i - 1] * perStep);
        const Floats onX = hn::Set(floats, line.wayX[i] * perStep);
        const Floats onY = hn::Set(floats, line.wayY[i] * perStep);
        const Floats pX = hn::Set(floats, static_cast<float>(line.points[i].x));
        const Floats pY = hn::Set(floats, static_cast<float>(line.points[i].y));
        HWY_ALIGN float steps[pointCount];
        const size_t first = 1 + (i - 1) * pointCount;
        for (size_t at = 0; at < pointCount; at += hn::Lanes(floats)) {
            const auto step = [&](size_t k, Floats to, Floats on) {
                return hn::Add(hn::Mul(hn::LoadU(floats, mix.to.data() + k), to),
                               hn::Mul(hn::LoadU(floats, mix.on.data() + k), on));
            };
            const auto position = [&](Floats p, Floats to, Floats on) {
                return hn::Add(hn::Sub(p, hn::Mul(hn::LoadU(floats, mix.behind.data() + at), to)),
                               hn::Mul(hn::LoadU(floats, mix.beyond.data() + at), on));
            };
            const Floats inX = step(at, toX, onX), inY = step(at, toY, onY);
            const Floats outX = step(at + 1, toX, onX), outY = step(at + 1, toY, onY);
            const Floats inLength = length(inX, inY), outLength = length(outX, outY);
            // The sum of both directions, longer by both lengths.
            Floats x = hn::Add(hn::Mul(inX, outLength), hn::Mul(outX, inLength));
            Floats y = hn::Add(hn::Mul(inY, outLength), hn::Mul(outY, inLength));
            Floats sum = length(x, y);
            const auto isNone = hn::Eq(sum, zero);
            if (HWY_UNLIKELY(!hn::AllFalse(floats, isNone))) {
                // Back again, or no way: the direction there is, first the incoming one.
                const auto isIn = hn::Gt(inLength, zero);
                const auto isOut = hn::Gt(outLength, zero);
                const Floats one = hn::Set(floats, 1);
                const auto either = [&](Floats in, Floats out, Floats none) {
                    return hn::IfThenElse(isIn, in, hn::IfThenElse(isOut, out, none));
                };
                x = hn::IfThenElse(isNone, either(inX, outX, one), x);
                y = hn::IfThenElse(isNone, either(inY, outY, zero), y);
                sum = hn::IfThenElse(isNone, either(inLength, outLength, one), sum);
            }
            const Floats perSum = hn::Div(hn::Set(floats, 1), sum);
            hn::StoreU(hn::Mul(x, perSum), floats, line.tangentX + first + at);
            hn::StoreU(hn::Mul(y, perSum), floats, line.tangentY + first + at);
            hn::StoreU(position(pX, toX, onX), floats, line.x + first + at);
            hn::StoreU(position(pY, toY, onY), floats, line.y + first + at);
            hn::StoreU(inLength, floats, steps + at);
        }
        const auto before = static_cast<float>(arc);
        float way = 0;
        for (size_t k = 0; k < pointCount; ++k)
            line.arc[first + k] = before + (way += steps[k]);
        arc += way;
    }
    return arc;
}

} // namespace HWY_NAMESPACE
} // namespace
} // namespace lanternfly
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lanternfly {
namespace {

HWY_EXPORT(smooth);

float lengthOf(float2 way) {
    return std::sqrt(way.x * way.x + way.y * way.y);
}

} // namespace

void SmoothedLine::assign(std::span<const double2> points) {
    const size_t count = points.size();
    _wayX.resize(count - 1);
    _wayY.resize(count - 1);
    for (size_t i = 0; i + 1 < count; ++i) {
        _wayX[i] = static_cast<float>(points[i + 1].x - points[i].x);
        _wayY[i] = static_cast<float>(points[i + 1].y - points[i].y);
    }
    const size_t size = (count - 2) * perPoint + 2;
    for (auto* numbers : {&_x, &_y, &_tangentX, &_tangentY, &_arc})
        numbers->resize(size);
    const double arcToLast =
        HWY_DYNAMIC_DISPATCH(smooth)({points.data(), count, _wayX.data(), _wayY.data(), _x.data(),
                                      _y.data(), _tangentX.data(), _tangentY.data(), _arc.data()});
    const float lastStep = count == 2 ? 1 : ofWayToEnd.back() * perStep;
    _lengthPX = arcToLast + lastStep * lengthOf(way(count - 2));
    setEnd(0, points.front(), way(0), 0);
    setEnd(size - 1, points.back(), way(count - 2), _lengthPX);
}

void SmoothedLine::setEnd(size_t i, double2 position, float2 way, double arcPX) {
    const float length = lengthOf(way);
    const float2 tangent = length > 0 ? way / length : float2(1, 0);
    _x[i] = static_cast<float>(position.x);
    _y[i] = static_cast<float>(position.y);
    _tangentX[i] = tangent.x;
    _tangentY[i] = tangent.y;
    _arc[i] = static_cast<float>(arcPX);
}

} // namespace lanternfly
#endif
