#include "render/cpu/StrokeStrip.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/cpu/StrokeStrip.cc"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "render/cpu/InkPolygon-inl.h"
#include "render/cpu/InkSpan-inl.h"
#include "render/cpu/StraightRibs-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lanternfly {
namespace {
namespace HWY_NAMESPACE {

using namespace lanternfly::HWY_NAMESPACE; // NOLINT

HWY_INLINE Rows rowsOf(const Rib& from, const Rib& to, int frameHeight) {
    if (!from.isUsable() || !to.isUsable()) return {0, frameHeight}; // one triangle may be
    const auto limit = static_cast<float>(frameHeight);
    return {
        firstCentre(std::min(std::min(from.left.y, from.right.y), std::min(to.left.y, to.right.y)),
                    limit),
        firstCentre(std::max(std::max(from.left.y, from.right.y), std::max(to.left.y, to.right.y)),
                    limit)};
}

size_t cut(const StrokeStrip& strip, int frameHeight, StripPiece* pieces) {
    const StraightRibs straightRibs(strip);
    const int ribCount = strip.vertexCount / 2;
    size_t count = 0;
    Rib from = stripRib(strip, 0);
    for (int i = 1, fromIndex = 0; i < ribCount; ++i) {
        Rib to = stripRib(strip, i);
        // A core that is wider than its ribs ends at them, hard: each rib counts.
        if (!strip.isLean && strip.widthScale <= 1) i = straightRibs.pass(from, to, i, ribCount);
        const Rows rows = rowsOf(from, to, frameHeight);
        if (!rows.isEmpty()) pieces[count++] = {fromIndex, i, rows};
        from = to;
        fromIndex = i;
    }
    return count;
}

class StripDrawer {
public:
    StripDrawer(const StrokeStrip& strip, Rows rows, PixelBuffer& output, InkLayer* layer)
        : _s(strip), _rows(rows), _output(output), _layer(layer),
          _frame(output.width(), output.height()), _colour(strip.color) {}

    void draw(std::span<const StripPiece> pieces) {
        for (const StripPiece& piece : pieces)
            if (!_rows.in(piece.rows).isEmpty())
                drawPiece(stripRib(_s, piece.from), stripRib(_s, piece.to));
        if (_s.vertexCount % 2 == 0) return;
        const Rib last = stripRib(_s, _s.vertexCount / 2 - 1);
        drawTriangle(last.left, last.right, stripVertex(_s, _s.vertexCount - 1));
    }

private:
    HWY_INLINE void drawPiece(const Rib& from, const Rib& to) {
        if (from.isUsable() && to.isUsable() && isConvex(from, to)) {
            InkPlane plane(from.left, from.right, to.left);
            if (plane.hasArea && plane.fit(to.right)) {
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

    template <int cornerCount>
    HWY_INLINE void drawPolygon(const StripVertex* const (&corners)[cornerCount],
                                const InkPlane& plane) {
        const InkPolygon<cornerCount> polygon(corners, _frame, _rows);
        if (polygon.rect().isEmpty()) return;
        if (_layer) _layer->mark(polygon.rect());
        if (plane.isEven())
            blend<EvenInk>(polygon, plane);
        else
            blend<VaryingInk>(polygon, plane);
    }
    template <typename Ink, typename Polygon>
    HWY_INLINE void blend(const Polygon& polygon, const InkPlane& plane) {
        const Ink ink(plane, _s.widthScale, _s.color.a * inkOpaque);
        const int rowPixels = static_cast<int>(_output.strideBytes() / 4);
        polygon.template forEachSpan<Ink::attributeCount>(
            plane, [&](int y, int x0, int x1, const float* start) HWY_ATTR {
                blendInkSpan(ink, _colour, start, x0, x1, _output.row(y), rowPixels);
            });
    }

    const StrokeStrip& _s;
    const Rows _rows;
    PixelBuffer& _output;
    InkLayer* const _layer;
    const float2 _frame;
    const InkColour _colour;
};

void draw(const StrokeStrip& strip, std::span<const StripPiece> pieces, Rows rows,
          PixelBuffer& output, InkLayer* layer) {
    StripDrawer(strip, rows, output, layer).draw(pieces);
}

} // namespace HWY_NAMESPACE
} // namespace
} // namespace lanternfly
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lanternfly {
namespace {
HWY_EXPORT(cut);
HWY_EXPORT(draw);
} // namespace

size_t cutStrip(const StrokeStrip& strip, int frameHeight, StripPiece* pieces) {
    return HWY_DYNAMIC_DISPATCH(cut)(strip, frameHeight, pieces);
}

void drawStrip(const StrokeStrip& strip, std::span<const StripPiece> pieces, Rows rows,
               PixelBuffer& output, InkLayer* layer) {
    HWY_DYNAMIC_DISPATCH(draw)(strip, pieces, rows, output, layer);
}

} // namespace lanternfly
#endif
