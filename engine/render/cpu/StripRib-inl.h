// The vertices of a strip of ink, two to a rib. Included once for every instruction set.
#if defined(LANTERNFLY_RENDER_CPU_STRIP_RIB_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef LANTERNFLY_RENDER_CPU_STRIP_RIB_INL_H_
#undef LANTERNFLY_RENDER_CPU_STRIP_RIB_INL_H_
#else
#define LANTERNFLY_RENDER_CPU_STRIP_RIB_INL_H_
#endif

#include <algorithm>
#include <cmath>

#include <hwy/highway.h>

#include "render/StrokeBatch.h"
#include "render/cpu/StrokeStrip.h"

HWY_BEFORE_NAMESPACE();
namespace lanternfly::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// The ink at a vertex: core offset, core half-width, feather half-width, alpha.
using VertexInkTag = hn::Full128<float>;
using VertexInk = hn::Vec<VertexInkTag>;
inline constexpr VertexInkTag vertexInk;

inline constexpr float maxVertexNumber = 1e6f; // beyond it a vertex belongs to no stroke

struct StripVertex {
    float x = 0, y = 0; // pixels
    const float* ink = nullptr;
    bool isUsable = false;

    HWY_INLINE VertexInk attributes() const { return hn::LoadU(vertexInk, ink); }
};

HWY_INLINE StripVertex stripVertex(const StrokeStrip& strip, int index) {
    const float* v = strip.vertices + static_cast<size_t>(index) * StrokeBatch::floatsPerVertex;
    StripVertex vertex{v[0] * strip.pixelsPerUnit.x, v[1] * strip.pixelsPerUnit.y, v + 2, false};
    const auto limit = hn::Set(vertexInk, maxVertexNumber);
    vertex.isUsable = std::abs(vertex.x) <= maxVertexNumber &&
                      std::abs(vertex.y) <= maxVertexNumber &&
                      hn::AllTrue(vertexInk, hn::Le(hn::Abs(vertex.attributes()), limit));
    return vertex;
}

struct Rib {
    StripVertex left, right;

    bool isUsable() const { return left.isUsable && right.isUsable; }
};

HWY_INLINE Rib stripRib(const StrokeStrip& strip, int index) {
    return {stripVertex(strip, 2 * index), stripVertex(strip, 2 * index + 1)};
}

HWY_INLINE double cross(const StripVertex& from, const StripVertex& a, const StripVertex& b) {
    const double2 toA(a.x - from.x, a.y - from.y);
    const double2 toB(b.x - from.x, b.y - from.y);
    return toA.x * toB.y - toB.x * toA.y;
}

} // namespace lanternfly::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
