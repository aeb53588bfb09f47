#include "render/cpu/StrokePass.h"

#include <algorithm>
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
    double2 pixelsPerUnit; // of the authoring viewport
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

constexpr double maxPositionPX = 1e6; // beyond it a triangle is no stroke
constexpr float maxInkLength = 1e6f;
constexpr int maxPiecePixels = 64;

struct StripVertex {
    double x = 0, y = 0; // pixels
    const float* attributes = nullptr;
    bool isUsable = false;
};

// One side of a triangle, from its upper to its lower end. Both triangles of a shared side compute
// the same numbers from it.
struct Side {
    double x = 0, y = 0, perRow = 0;

    Side(const StripVertex& upper, const StripVertex& lower)
        : x(upper.x), y(upper.y),
          perRow(lower.y > upper.y ? (lower.x - upper.x) / (lower.y - upper.y) : 0) {}
    double at(double rowCentre) const { return x + (rowCentre - y) * perRow; }
};

// The first pixel whose centre is at or beyond a position.
HWY_INLINE int firstCentre(double position, double limit) {
    const double t = std::min(std::max(position - 0.5, 0.0), limit);
    const int pixel = static_cast<int>(t);
    return pixel + (t > pixel);
}

class StripDrawer {
public:
    explicit StripDrawer(const StrokeStrip& strip)
        : _s(strip), _lastX(strip.output->width()), _lastY(strip.output->height()) {}

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
        const int y0 = firstCentre(top->y, _lastY);
        const int y1 = firstCentre(bottom->y, _lastY);
        if (y0 >= y1) return;

        // Twice the signed area, and how the weights of b and c move.
        const double area = (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y);
        if (!(std::abs(area) > 0)) return;
        const double perArea = 1 / area;
        const double bX = (c.y - a.y) * perArea;
        const double bY = (a.x - c.x) * perArea;
        const double cX = (a.y - b.y) * perArea;
        const double cY = (b.x - a.x) * perArea;
        const Ink atA = hn::LoadU(ink, a.attributes);
        const Ink towardB = hn::Sub(hn::LoadU(ink, b.attributes), atA);
        const Ink towardC = hn::Sub(hn::LoadU(ink, c.attributes), atA);

        const Side whole(*top, *bottom);
        const Side upper(*top, *middle);
        const Side lower(*middle, *bottom);
        for (int y = y0; y < y1; ++y) {
            const double centre = y + 0.5;
            const double one = whole.at(centre);
            const double other = centre < middle->y ? upper.at(centre) : lower.at(centre);
            const int x0 = firstCentre(std::min(one, other), _lastX);
            const int x1 = firstCentre(std::max(one, other), _lastX);
            if (x0 >= x1) continue;
            const double dx = x0 + 0.5 - a.x;
            const double dy = centre - a.y;
            const auto weight = [](double w) {
                return hn::Set(ink, static_cast<float>(std::min(std::max(w, 0.0), 1.0)));
            };
            Ink value = hn::Add(atA, hn::Add(hn::Mul(towardB, weight(bX * dx + bY * dy)),
                                             hn::Mul(towardC, weight(cX * dx + cY * dy))));
            Ink perPixel = hn::Zero(ink);
            if (x1 - x0 > 1)
                perPixel = hn::Add(hn::Mul(towardB, hn::Set(ink, static_cast<float>(bX))),
                                   hn::Mul(towardC, hn::Set(ink, static_cast<float>(cX))));
            addSpan(y, x0, x1, value, perPixel);
        }
        _touched.y0 = std::min(_touched.y0, y0);
        _touched.y1 = std::max(_touched.y1, y1);
    }

    HWY_INLINE void addSpan(int y, int x0, int x1, Ink value, Ink perPixel) {
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
    const double _lastX;
    const double _lastY;
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
        const double2 pixelsPerUnit{uniforms.mvp[0][0] * output.width() / 2.0,
                                    -uniforms.mvp[1][1] * output.height() / 2.0};
        HWY_DYNAMIC_DISPATCH(drawStrip)
        ({batch.vertexBuffer.data(), vertexCount, pixelsPerUnit, uniforms.color,
          uniforms.widthScale, _runs.data(), _fragments.data(), &output});
    }
}

} // namespace lanternfly
#endif
