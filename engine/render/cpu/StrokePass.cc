#include "render/cpu/StrokePass.h"

#include <algorithm>
#include <bit>
#include <cmath>

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

struct StripVertex {
    float x = 0, y = 0; // pixels
    const float* attributes = nullptr;
    bool isUsable = false;
};

// One side of a triangle, from its upper to its lower end. Both triangles of a shared side compute
// the same numbers from it, so that no pixel of it is drawn twice or left out.
struct Side {
    float x, y, perRow;

    HWY_INLINE Side(const StripVertex& upper, const StripVertex& lower)
        : x(upper.x), y(upper.y),
          perRow(lower.y > upper.y ? (lower.x - upper.x) / (lower.y - upper.y) : 0) {}
    HWY_INLINE Floats at(Floats rowCentres) const {
        return hn::Add(hn::Mul(hn::Sub(rowCentres, set(y)), set(perRow)), set(x));
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
class StripDrawer {
public:
    explicit StripDrawer(const StrokeStrip& strip)
        : _s(strip), _endX(static_cast<float>(strip.output->width())),
          _endY(static_cast<float>(strip.output->height())) {}

    void draw() {
        StripVertex a = vertex(0);
        StripVertex b = vertex(1);
        for (int i = 2; i < _s.vertexCount; ++i) {
            const StripVertex c = vertex(i);
            if (a.isUsable && b.isUsable && c.isUsable) drawTriangle(a, b, c);
            a = b;
            b = c;
        }
        for (int y = _touched.y0; y < _touched.y1; ++y)
            flush(y);
    }

private:
    StripVertex vertex(int index) const {
        const float* v = _s.vertices + static_cast<size_t>(index) * StrokeBatch::floatsPerVertex;
        StripVertex result{v[0] * _s.pixelsPerUnit.x, v[1] * _s.pixelsPerUnit.y, v + 2, true};
        result.isUsable =
            std::abs(result.x) <= maxPositionPX && std::abs(result.y) <= maxPositionPX;
        for (int i = 2; i < 6; ++i)
            result.isUsable &= std::abs(v[i]) <= maxInkLength;
        return result;
    }

    HWY_INLINE void drawTriangle(const StripVertex& a, const StripVertex& b, const StripVertex& c) {
        const StripVertex* top = &a;
        const StripVertex* middle = &b;
        const StripVertex* bottom = &c;
        const auto isBelow = [](const StripVertex* p, const StripVertex* q) {
            return p->y > q->y || (p->y == q->y && p->x > q->x);
        };
        if (isBelow(top, middle)) std::swap(top, middle);
        if (isBelow(middle, bottom)) std::swap(middle, bottom);
        if (isBelow(top, middle)) std::swap(top, middle);
        const int y0 = firstCentre(top->y, _endY);
        const int y1 = firstCentre(bottom->y, _endY);
        if (y0 >= y1) return;

        // Twice the signed area, and how the weights of b and c move.
        const double2 ab(b.x - a.x, b.y - a.y);
        const double2 ac(c.x - a.x, c.y - a.y);
        const double area = ab.x * ac.y - ac.x * ab.y;
        if (!(std::abs(area) > minTriangleArea)) return;
        const double perArea = 1 / area;
        const auto bX = static_cast<float>(ac.y * perArea);
        const auto bY = static_cast<float>(-ac.x * perArea);
        const auto cX = static_cast<float>(-ab.y * perArea);
        const auto cY = static_cast<float>(ab.x * perArea);
        const Ink atA = hn::LoadU(ink, a.attributes);
        const Ink towardB = hn::Sub(hn::LoadU(ink, b.attributes), atA);
        const Ink towardC = hn::Sub(hn::LoadU(ink, c.attributes), atA);
        const Ink perPixel =
            hn::Add(hn::Mul(towardB, hn::Set(ink, bX)), hn::Mul(towardC, hn::Set(ink, cX)));

        const Side whole(*top, *bottom);
        const Side upper(*top, *middle);
        const Side lower(*middle, *bottom);
        HWY_ALIGN float firsts[HWY_MAX_BYTES / sizeof(float)];
        HWY_ALIGN float ends[HWY_MAX_BYTES / sizeof(float)];
        HWY_ALIGN float weightsOfB[HWY_MAX_BYTES / sizeof(float)];
        HWY_ALIGN float weightsOfC[HWY_MAX_BYTES / sizeof(float)];
        for (int y = y0; y < y1; y += static_cast<int>(lanes())) {
            const Floats centres = hn::Iota(floats, static_cast<float>(y) + 0.5f);
            const Floats one = whole.at(centres);
            const Floats other = hn::IfThenElse(hn::Lt(centres, set(middle->y)), upper.at(centres),
                                                lower.at(centres));
            const Floats x0 = firstCentres(hn::Min(one, other), _endX);
            const Floats x1 = firstCentres(hn::Max(one, other), _endX);
            const Mask isCovered =
                hn::And(hn::Lt(x0, x1), hn::Lt(centres, set(static_cast<float>(y1))));
            uint8_t maskBytes[8] = {};
            hn::StoreMaskBits(floats, isCovered, maskBytes);
            uint32_t rows = static_cast<uint32_t>(maskBytes[0] | maskBytes[1] << 8);
            if (rows == 0) continue;
            const Floats dx = hn::Add(x0, set(0.5f - a.x));
            const Floats dy = hn::Sub(centres, set(a.y));
            const auto weight = [&](float perX, float perY) {
                return clamp01(hn::Add(hn::Mul(dx, set(perX)), hn::Mul(dy, set(perY))));
            };
            hn::Store(x0, floats, firsts);
            hn::Store(x1, floats, ends);
            hn::Store(weight(bX, bY), floats, weightsOfB);
            hn::Store(weight(cX, cY), floats, weightsOfC);
            for (; rows != 0; rows &= rows - 1) {
                const auto row = static_cast<unsigned>(std::countr_zero(rows));
                const Ink value =
                    hn::Add(atA, hn::Add(hn::Mul(towardB, hn::Set(ink, weightsOfB[row])),
                                         hn::Mul(towardC, hn::Set(ink, weightsOfC[row]))));
                addSpan(y + static_cast<int>(row), static_cast<int>(firsts[row]),
                        static_cast<int>(ends[row]), value, perPixel);
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
      _fragments(static_cast<size_t>(output.height) * StrokeRun::windowFloats) {}

void StrokePass::draw(const StrokesDraw& draw, PixelBuffer& output) {
    for (const StrokeBatch& batch : *draw.batches) {
        const int vertexCount = drawnVertexCount(batch);
        const StrokeUniforms uniforms = strokeUniforms(draw, batch);
        if (vertexCount < 3 || !(uniforms.color.a > 0)) continue;
        const float2 pixelsPerUnit{uniforms.mvp[0][0] * static_cast<float>(output.width()) / 2,
                                   -uniforms.mvp[1][1] * static_cast<float>(output.height()) / 2};
        HWY_DYNAMIC_DISPATCH(drawStrip)
        ({batch.vertexBuffer.data(), vertexCount, pixelsPerUnit, uniforms.color,
          uniforms.widthScale, _runs.data(), _fragments.data(), &output});
    }
}

} // namespace lanternfly
#endif
