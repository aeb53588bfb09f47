#include "render/cpu/StrokePass.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "render/cpu/Rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/cpu/StrokePass.cc"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "render/cpu/Pixels-inl.h"

#ifndef LANTERNFLY_RENDER_CPU_STROKE_PASS_STRIP
#define LANTERNFLY_RENDER_CPU_STROKE_PASS_STRIP
namespace lanternfly {
namespace {

struct StrokeStrip {
    const float* vertices;
    int vertexCount;
    float2 pixelsPerUnit; // of the authoring viewport
    float4 color;
    float widthScale;
    StrokeRun* runs;
    float* fragments;
    PixelBuffer* output;
    InkLayer* layer; // whose pixels the output is; null: none
};

} // namespace
} // namespace lanternfly
#endif

HWY_BEFORE_NAMESPACE();
namespace lanternfly {
namespace {
namespace HWY_NAMESPACE {

using namespace lanternfly::HWY_NAMESPACE; // NOLINT

using InkTag = hn::Full128<float>;
using Ink = hn::Vec<InkTag>; // core offset, core half-width, feather half-width, alpha
constexpr InkTag ink;

constexpr float maxPositionPX = 1e6f; // beyond it a triangle is no stroke
constexpr float maxInkLength = 1e6f;
constexpr int maxPiecePixels = 64;
constexpr double minTriangleArea = 1e-9; // pixels; a thinner one holds no pixel's centre
// How far the edge of a stroke may be moved by leaving out ribs, and its widths along with it: a
// soft edge 3.5 pixels wide changes by less than a 255th.
constexpr float maxRibErrorPX = 0.005f;
constexpr float maxAlphaError = 0.0015f;
// How far four corners may be from one plane to be drawn as one, in pixels and in opacity.
constexpr float maxPlaneError = 0.003f;
constexpr float maxPlaneWeight = 2; // of a corner; a longer one is no piece of a stroke

struct StripVertex {
    float x = 0, y = 0; // pixels
    const float* attributes = nullptr;
    bool isUsable = false;
};

struct Rib {
    StripVertex left, right;

    bool isUsable() const { return left.isUsable && right.isUsable; }
};

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

HWY_INLINE double cross(const StripVertex& from, const StripVertex& a, const StripVertex& b) {
    const double2 toA(a.x - from.x, a.y - from.y);
    const double2 toB(b.x - from.x, b.y - from.y);
    return toA.x * toB.y - toB.x * toA.y;
}

// The ink of a triangle as a plane: a value at the corner `a`, and the weights of the way towards
// the other two corners.
struct InkPlane {
    float x = 0, y = 0; // of a
    float bX = 0, bY = 0, cX = 0, cY = 0;
    float maxWeight = 1;
    Ink atA, towardB, towardC;
    bool hasArea;

    HWY_INLINE InkPlane(const StripVertex& a, const StripVertex& b, const StripVertex& c)
        : x(a.x), y(a.y), atA(hn::LoadU(ink, a.attributes)),
          towardB(hn::Sub(hn::LoadU(ink, b.attributes), atA)),
          towardC(hn::Sub(hn::LoadU(ink, c.attributes), atA)) {
        const double area = cross(a, b, c); // twice, signed
        hasArea = std::abs(area) > minTriangleArea;
        if (!hasArea) return;
        const double perArea = 1 / area;
        bX = static_cast<float>((c.y - a.y) * perArea);
        bY = static_cast<float>(-(c.x - a.x) * perArea);
        cX = static_cast<float>(-(b.y - a.y) * perArea);
        cY = static_cast<float>((b.x - a.x) * perArea);
    }
    HWY_INLINE Ink perPixel() const {
        return hn::Add(hn::Mul(towardB, hn::Set(ink, bX)), hn::Mul(towardC, hn::Set(ink, cX)));
    }
    HWY_INLINE Ink at(float weightOfB, float weightOfC) const {
        return hn::Add(atA, hn::Add(hn::Mul(towardB, hn::Set(ink, weightOfB)),
                                    hn::Mul(towardC, hn::Set(ink, weightOfC))));
    }
    // Whether the plane also holds the corner.
    HWY_INLINE bool holds(const StripVertex& d) const {
        const float dx = d.x - x, dy = d.y - y;
        const float ofB = dx * bX + dy * bY, ofC = dx * cX + dy * cY;
        if (!(ofB >= 0 && ofB <= maxPlaneWeight && ofC >= 0 && ofC <= maxPlaneWeight)) return false;
        const Ink error = hn::Abs(hn::Sub(at(ofB, ofC), hn::LoadU(ink, d.attributes)));
        return hn::AllTrue(ink, hn::Le(error, hn::Set(ink, maxPlaneError)));
    }
};

// How an edge of a strip may go on straight, and its ink linearly, from a vertex past all the
// vertices that it has passed (the sector method of line simplification, Williams 1978).
class Sector {
public:
    HWY_INLINE Sector(const StripVertex& from, const StripVertex& first, Ink maxInkError)
        : _from(from), _alongX(first.x - from.x), _alongY(first.y - from.y),
          _passed(_alongX * _alongX + _alongY * _alongY),
          _maxError(maxRibErrorPX * std::sqrt(_passed)), _low(-_maxError / _passed),
          _high(_maxError / _passed), _fromInk(hn::LoadU(ink, from.attributes)),
          _maxInkError(maxInkError) {
        narrowInk(first, 1 / _passed, hn::Set(ink, -infinite), hn::Set(ink, infinite));
    }
    // Whether the edge may run straight to the vertex; if so it counts as passed.
    HWY_INLINE bool pass(const StripVertex& to) {
        const float dx = to.x - _from.x, dy = to.y - _from.y;
        const float along = dx * _alongX + dy * _alongY;
        if (!(along > _passed)) return false;
        const float perAlong = 1 / along;
        const float slope = (dy * _alongX - dx * _alongY) * perAlong;
        const Ink inkSlope = inkSlopeOf(to, perAlong);
        if (!(slope >= _low && slope <= _high) ||
            !hn::AllTrue(ink, hn::And(hn::Ge(inkSlope, _lowInk), hn::Le(inkSlope, _highInk))))
            return false;
        _low = std::max(_low, slope - _maxError * perAlong);
        _high = std::min(_high, slope + _maxError * perAlong);
        narrowInk(to, perAlong, _lowInk, _highInk);
        _passed = along;
        return true;
    }

private:
    HWY_INLINE Ink inkSlopeOf(const StripVertex& to, float perAlong) const {
        return hn::Mul(hn::Sub(hn::LoadU(ink, to.attributes), _fromInk), hn::Set(ink, perAlong));
    }
    HWY_INLINE void narrowInk(const StripVertex& to, float perAlong, Ink low, Ink high) {
        const Ink slope = inkSlopeOf(to, perAlong);
        const Ink error = hn::Mul(_maxInkError, hn::Set(ink, perAlong));
        _lowInk = hn::Max(low, hn::Sub(slope, error));
        _highInk = hn::Min(high, hn::Add(slope, error));
    }

    static constexpr float infinite = std::numeric_limits<float>::infinity();
    const StripVertex& _from;
    float _alongX, _alongY; // the first step, which slopes are measured against
    float _passed;
    float _maxError;
    float _low, _high;
    Ink _fromInk, _maxInkError;
    Ink _lowInk, _highInk;
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

class StripDrawer {
public:
    explicit StripDrawer(const StrokeStrip& strip)
        : _s(strip), _endX(static_cast<float>(strip.output->width())),
          _endY(static_cast<float>(strip.output->height())), _maxInkError{widthError(strip),
                                                                          widthError(strip),
                                                                          widthError(strip),
                                                                          maxAlphaError} {}

    void draw() {
        const int ribCount = _s.vertexCount / 2;
        Rib from = rib(0);
        for (int i = 1; i < ribCount; ++i) {
            Rib to = rib(i);
            // A core that is wider than its ribs ends at them, hard: each rib counts.
            if (_s.widthScale <= 1) i = passStraightRibs(from, to, i, ribCount);
            drawPiece(from, to);
            from = to;
        }
        if (_s.vertexCount % 2 != 0)
            drawTriangle(from.left, from.right, vertex(_s.vertexCount - 1));
        for (int y = _touched.y0; y < _touched.y1; ++y)
            flush(y);
    }

private:
    static float widthError(const StrokeStrip& strip) {
        return maxRibErrorPX / std::max(std::abs(strip.pixelsPerUnit.x), 1e-6f);
    }
    Rib rib(int index) const { return {vertex(2 * index), vertex(2 * index + 1)}; }

    HWY_INLINE StripVertex vertex(int index) const {
        const float* v = _s.vertices + static_cast<size_t>(index) * StrokeBatch::floatsPerVertex;
        StripVertex result{v[0] * _s.pixelsPerUnit.x, v[1] * _s.pixelsPerUnit.y, v + 2, true};
        result.isUsable =
            std::abs(result.x) <= maxPositionPX && std::abs(result.y) <= maxPositionPX;
        for (int i = 2; i < 6; ++i)
            result.isUsable &= std::abs(v[i]) <= maxInkLength;
        return result;
    }

    // A smoothed stroke has many more ribs than its shape needs. Moves `to` on to the last rib that
    // can stand for those before it, and gives its index.
    HWY_INLINE int passStraightRibs(const Rib& from, Rib& to, int index, int ribCount) const {
        if (!from.isUsable() || !to.isUsable()) return index;
        const Ink maxInkError = hn::LoadU(ink, _maxInkError);
        Sector left(from.left, to.left, maxInkError);
        Sector right(from.right, to.right, maxInkError);
        while (index + 1 < ribCount) {
            const Rib next = rib(index + 1);
            if (!next.isUsable() || !left.pass(next.left) || !right.pass(next.right)) break;
            to = next;
            ++index;
        }
        return index;
    }

    HWY_INLINE void drawPiece(const Rib& from, const Rib& to) {
        if (from.isUsable() && to.isUsable() && isConvex(from, to)) {
            InkPlane plane(from.left, from.right, to.left);
            if (plane.hasArea && plane.holds(to.right)) {
                plane.maxWeight = maxPlaneWeight;
                const StripVertex* corners[] = {&from.left, &from.right, &to.right, &to.left};
                drawPolygon(corners, plane);
                return;
            }
        }
        drawTriangle(from.left, from.right, to.left);
        drawTriangle(from.right, to.left, to.right);
    }
    static HWY_INLINE bool isConvex(const Rib& from, const Rib& to) {
        const double a = cross(from.left, from.right, to.right);
        const double b = cross(from.right, to.right, to.left);
        const double c = cross(to.right, to.left, from.left);
        const double d = cross(to.left, from.left, from.right);
        return (a > 0 && b > 0 && c > 0 && d > 0) || (a < 0 && b < 0 && c < 0 && d < 0);
    }

    HWY_INLINE void drawTriangle(const StripVertex& a, const StripVertex& b, const StripVertex& c) {
        if (!a.isUsable || !b.isUsable || !c.isUsable) return;
        const InkPlane plane(a, b, c);
        const StripVertex* corners[] = {&a, &b, &c};
        if (plane.hasArea) drawPolygon(corners, plane);
    }

    template <size_t count>
    HWY_INLINE void drawPolygon(const StripVertex* const (&corners)[count], const InkPlane& plane) {
        float top = corners[0]->y, bottom = corners[0]->y;
        Side sides[count];
        for (size_t i = 0; i < count; ++i) {
            top = std::min(top, corners[i]->y);
            bottom = std::max(bottom, corners[i]->y);
            sides[i] = Side(*corners[i], *corners[(i + 1) % count]);
        }
        const int y0 = firstCentre(top, _endY);
        const int y1 = firstCentre(bottom, _endY);
        if (y0 >= y1) return;

        const Ink perPixel = plane.perPixel();
        HWY_ALIGN float firsts[HWY_MAX_BYTES / sizeof(float)];
        HWY_ALIGN float ends[HWY_MAX_BYTES / sizeof(float)];
        HWY_ALIGN float weightsOfB[HWY_MAX_BYTES / sizeof(float)];
        HWY_ALIGN float weightsOfC[HWY_MAX_BYTES / sizeof(float)];
        for (int y = y0; y < y1; y += static_cast<int>(lanes())) {
            const Floats centres = hn::Iota(floats, static_cast<float>(y) + 0.5f);
            Floats low = set(_endX), high = hn::Zero(floats);
            for (const Side& side : sides) {
                const Mask crosses = side.crosses(centres);
                const Floats x = side.at(centres);
                low = hn::IfThenElse(crosses, hn::Min(low, x), low);
                high = hn::IfThenElse(crosses, hn::Max(high, x), high);
            }
            const Floats x0 = firstCentres(low, _endX);
            const Floats x1 = firstCentres(high, _endX);
            const Mask isCovered =
                hn::And(hn::Lt(x0, x1), hn::Lt(centres, set(static_cast<float>(y1))));
            uint8_t maskBytes[8] = {};
            hn::StoreMaskBits(floats, isCovered, maskBytes);
            uint32_t rows = static_cast<uint32_t>(maskBytes[0] | maskBytes[1] << 8);
            if (rows == 0) continue;
            const Floats dx = hn::Add(x0, set(0.5f - plane.x));
            const Floats dy = hn::Sub(centres, set(plane.y));
            const auto weight = [&](float perX, float perY) {
                const Floats w = hn::Add(hn::Mul(dx, set(perX)), hn::Mul(dy, set(perY)));
                return hn::Min(hn::Max(w, hn::Zero(floats)), set(plane.maxWeight));
            };
            hn::Store(x0, floats, firsts);
            hn::Store(x1, floats, ends);
            hn::Store(weight(plane.bX, plane.bY), floats, weightsOfB);
            hn::Store(weight(plane.cX, plane.cY), floats, weightsOfC);
            for (; rows != 0; rows &= rows - 1) {
                const auto row = static_cast<unsigned>(std::countr_zero(rows));
                addSpan(y + static_cast<int>(row), static_cast<int>(firsts[row]),
                        static_cast<int>(ends[row]), plane.at(weightsOfB[row], weightsOfC[row]),
                        perPixel);
            }
        }
        _touched.y0 = std::min(_touched.y0, y0);
        _touched.y1 = std::max(_touched.y1, y1);
    }

    HWY_INLINE void addSpan(int y, int x0, int x1, Ink value, Ink perPixel) {
        if (x1 - x0 == 1) {
            hn::StoreU(value, ink, place(y, x0, x1));
            return;
        }
        const int first = x0;
        while (x0 < x1) {
            const int end = std::min(x1, x0 + maxPiecePixels);
            float* out = place(y, x0, end);
            for (int x = x0; x < end; ++x, out += 4) {
                const Ink steps = hn::Set(ink, static_cast<float>(x - first));
                hn::StoreU(hn::Add(value, hn::Mul(perPixel, steps)), ink, out);
            }
            x0 = end;
        }
    }

    // Room for a piece that continues the row's run, or begins a new one.
    HWY_INLINE float* place(int y, int x0, int x1) {
        StrokeRun& run = _s.runs[y];
        const bool isRight = x0 == run.x1 && x1 <= run.base + StrokeRun::windowPixels;
        const bool isLeft = x1 == run.x0 && x0 >= run.base;
        if (run.x0 < run.x1 && isRight) {
            run.x1 = x1;
        } else if (run.x0 < run.x1 && isLeft) {
            run.x0 = x0;
        } else {
            flush(y);
            run.base = std::max(x0 - 48, 0) / vectorPixels * vectorPixels;
            run.x0 = x0;
            run.x1 = x1;
        }
        return window(y) + static_cast<size_t>(x0 - run.base) * 4;
    }

    float* window(int y) const {
        return _s.fragments + static_cast<size_t>(y) * StrokeRun::windowFloats;
    }

    void flush(int y) {
        StrokeRun& run = _s.runs[y];
        if (run.x0 >= run.x1) return;
        if (_s.layer) _s.layer->mark(y, run.x0, run.x1);
        const auto step = static_cast<int>(lanes());
        uint8_t* out = _s.output->row(y);
        for (int x = run.x0 / step * step; x < run.x1; x += step) {
            Floats offset, core, feather, alpha;
            hn::LoadInterleaved4(floats, window(y) + static_cast<size_t>(x - run.base) * 4, offset,
                                 core, feather, alpha);
            const Floats span = hn::Max(hn::Sub(feather, core), set(minFeatherSpan));
            const Floats beyond = hn::Sub(hn::Abs(offset), hn::Mul(core, set(_s.widthScale)));
            const Floats coverage = hn::Sub(set(1), smooth(hn::Div(beyond, span)));
            const Floats a = hn::Mul(hn::Mul(alpha, coverage), set(_s.color.a * 255));
            const Bgra source{hn::Mul(a, set(_s.color.b)), hn::Mul(a, set(_s.color.g)),
                              hn::Mul(a, set(_s.color.r)), a};
            const Floats pixels = hn::Iota(floats, static_cast<float>(x));
            const Mask isInRun = hn::And(hn::Ge(pixels, set(static_cast<float>(run.x0))),
                                         hn::Lt(pixels, set(static_cast<float>(run.x1))));
            const Ints below = loadPixels(out, static_cast<size_t>(x));
            const Ints blended = blendOver(source, below);
            storePixels(hn::IfThenElse(hn::RebindMask(ints, isInRun), blended, below), out,
                        static_cast<size_t>(x));
        }
        run.x1 = run.x0;
    }

    const StrokeStrip& _s;
    const float _endX;
    const float _endY;
    const float _maxInkError[4]; // of the attributes, in units of the authoring viewport
    struct {
        int y0 = 1 << 30, y1 = 0;
    } _touched;
};

void drawStrip(const StrokeStrip& strip) {
    StripDrawer(strip).draw();
}

} // namespace HWY_NAMESPACE
} // namespace
} // namespace lanternfly
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lanternfly {
namespace {
HWY_EXPORT(drawStrip);
} // namespace

StrokePass::StrokePass(FrameSize output)
    : _runs(static_cast<size_t>(output.height)),
      _fragments(static_cast<size_t>(output.height) * StrokeRun::windowFloats), _layer(output) {}

void StrokePass::draw(const StrokesDraw& draw, PixelBuffer& output) {
    const auto [first, end] = hold(draw);
    drawBatches(draw, 0, first, output, nullptr);
    if (first < end) _layer.blendOnto(output);
    drawBatches(draw, end, draw.batches->size(), output, nullptr);
    _last = draw;
}

size_t StrokePass::unchanged(Batches batches, size_t first) const {
    if (!_last.batches || first >= batches.size()) return 0;
    const auto& before = *_last.batches;
    auto same = std::find(before.begin(), before.end(), batches[first]);
    size_t count = 0;
    while (same != before.end() && first + count < batches.size() &&
           *same == batches[first + count]) {
        ++same;
        ++count;
    }
    return count;
}

std::pair<size_t, size_t> StrokePass::hold(const StrokesDraw& draw) {
    const Batches batches(*draw.batches);
    const bool isSameInk = draw.opacity == _last.opacity && draw.widthScale == _last.widthScale;
    size_t first = 0;
    if (!_held.empty()) {
        first = static_cast<size_t>(std::find(batches.begin(), batches.end(), _held.front()) -
                                    batches.begin());
        if (!isSameInk || batches.size() - first < _held.size() ||
            !std::equal(_held.begin(), _held.end(),
                        batches.begin() + static_cast<ptrdiff_t>(first))) {
            _layer.clear();
            _held.clear();
        }
    }
    if (!isSameInk) return {0, 0};
    if (_held.empty()) {
        size_t longest = 0;
        for (size_t i = 0; i < batches.size();) {
            const size_t count = unchanged(batches, i);
            if (count > longest) {
                longest = count;
                first = i;
            }
            i += std::max<size_t>(count, 1);
        }
    }
    const size_t heldEnd = first + _held.size();
    const size_t end = heldEnd + unchanged(batches, heldEnd);
    PixelBuffer* pixels = heldEnd < end ? _layer.pixels() : nullptr;
    if (!pixels) return {first, heldEnd};
    drawBatches(draw, heldEnd, end, *pixels, &_layer);
    _held.insert(_held.end(), batches.begin() + static_cast<ptrdiff_t>(heldEnd),
                 batches.begin() + static_cast<ptrdiff_t>(end));
    return {first, end};
}

void StrokePass::drawBatches(const StrokesDraw& draw, size_t first, size_t end, PixelBuffer& output,
                             InkLayer* layer) {
    for (size_t i = first; i < end; ++i) {
        const StrokeBatch& batch = *(*draw.batches)[i];
        const int vertexCount = drawnVertexCount(batch);
        const StrokeUniforms uniforms = strokeUniforms(draw, batch);
        if (vertexCount < 3 || !(uniforms.color.a > 0)) continue;
        const float2 pixelsPerUnit{uniforms.mvp[0][0] * static_cast<float>(output.width()) / 2,
                                   -uniforms.mvp[1][1] * static_cast<float>(output.height()) / 2};
        HWY_DYNAMIC_DISPATCH(drawStrip)
        ({batch.vertexBuffer.data(), vertexCount, pixelsPerUnit, uniforms.color,
          uniforms.widthScale, _runs.data(), _fragments.data(), &output, layer});
    }
}

} // namespace lanternfly
#endif
