#include "render/InkTessellator.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace lanternfly {

namespace {

using StrokeGeometry::BodyEnvelope;
using StrokeGeometry::EnvelopeSample;
using StrokeGeometry::InkProfile;
using StrokeGeometry::StrokeMesh;

constexpr float infinite = std::numeric_limits<float>::infinity();
constexpr InkProfile profile = InkProfile::studioDraw;
constexpr int dotPoints = 24;
constexpr double dotPerStrokeWidth = 1.25;   // across; reads slightly larger than the line's core
constexpr double smallestDotRadiusPX = 0.25; // of the ring: a ring without length has no mesh
constexpr double farthestPX = 1e6; // from the viewport's corner; beyond it floats lose the pixel
// How far an outline may be off already when InkOutline looks at it.
constexpr float maxFirstErrorPX = InkTessellator::maxErrorPX - InkOutline::maxErrorPX;
constexpr float maxTightness = 0.8f; // half the width of a stroke over the radius of its bend

bool isDrawable(const Stroke& stroke) {
    const auto isFar = [](double coordinate) {
        return std::isfinite(coordinate) && std::fabs(coordinate) > farthestPX;
    };
    return !(stroke.width > farthestPX) &&
           std::none_of(stroke.points.begin(), stroke.points.end(),
                        [&](const Stroke::Point& point) {
                            return std::any_of(point.begin(), point.end(), isFar);
                        });
}

// A ring as thick as it is wide, so that its core fills the middle and only the rim is soft.
StrokeMesh dot(const Stroke& stroke) {
    const Stroke::Point& center = stroke.points.front();
    if (center.size() < 2) return {};
    const double acrossPX = dotPerStrokeWidth * std::fmax(stroke.width, 1.0);
    const double radiusPX = std::fmax((acrossPX / 2 - profile.featherPX) / 2, smallestDotRadiusPX);
    Stroke ring{.color = stroke.color, .width = 2 * radiusPX};
    ring.points.reserve(dotPoints);
    for (int i = 0; i < dotPoints; ++i) {
        const double angle = 2 * std::numbers::pi * i / dotPoints;
        ring.points.push_back(
            {center[0] + radiusPX * std::cos(angle), center[1] + radiusPX * std::sin(angle)});
    }
    StrokeMesh mesh = StrokeGeometry::tessellate(ring, profile, 0, true);
    // The strip of a loop ends one segment before its start; a dot must not lack that wedge.
    if (mesh.vertices.size() >= 2)
        mesh.vertices.insert(mesh.vertices.end(), {mesh.vertices[0], mesh.vertices[1]});
    return mesh;
}

} // namespace

std::optional<StrokeBatch> InkTessellator::batch(const Stroke& stroke,
                                                 const DrawingViewport& viewport) {
    if (!isDrawable(stroke)) return std::nullopt;
    if (stroke.points.size() != 1) return lineBatch(stroke, viewport);
    StrokeBatch batch(dot(stroke), viewport);
    if (batch.isEmpty()) return std::nullopt;
    return batch;
}

std::optional<StrokeBatch> InkTessellator::lineBatch(const Stroke& stroke,
                                                     const DrawingViewport& viewport) {
    _points.clear();
    for (const Stroke::Point& point : stroke.points)
        if (point.size() >= 2 && std::isfinite(point[0]) && std::isfinite(point[1]))
            _points.emplace_back(point[0], point[1]);
    if (_points.size() < 2) return std::nullopt;
    _line.assign(_points);
    if (!(_line.lengthPX() > 0)) return std::nullopt;
    traceLine(std::fmax(stroke.width, 0.0)); // NaN counts as 0
    StrokeBatch batch({.vertices = {}, .color = StrokeGeometry::parseHexColor(stroke.color)},
                      viewport);
    const std::span<const float> vertices = _outline.vertices();
    batch.vertexBuffer.assign(vertices.begin(), vertices.end());
    batch.triangleStripVertexCount =
        static_cast<int>(vertices.size() / StrokeBatch::floatsPerVertex);
    batch.isLean = true;
    return batch;
}

void InkTessellator::traceLine(double baseWidthPX) {
    const double lengthPX = _line.lengthPX();
    const BodyEnvelope envelope = profile.bodyEnvelope(baseWidthPX, lengthPX);
    const auto featherPX = static_cast<float>(profile.featherPX);
    const auto rib = [&](size_t i) -> InkOutline::Rib {
        const EnvelopeSample body = envelope.evaluate(_line.arcPX(i) / lengthPX);
        const float2 tangent = _line.tangent(i);
        const auto core = static_cast<float>(body.widthPX / 2);
        return {_line.position(i),
                {-tangent.y, tangent.x},
                core,
                featherPX + core,
                static_cast<float>(body.alpha)};
    };
    const auto outerPX = featherPX + static_cast<float>(baseWidthPX / 2);
    // Where width or opacity begin to run otherwise, all ribs are looked at.
    const float turns[] = {static_cast<float>(envelope.headOnsetEnd * lengthPX),
                           static_cast<float>(envelope.tailWidthTaperStart * lengthPX),
                           static_cast<float>(envelope.tailAlphaTaperStart * lengthPX)};
    constexpr size_t perPoint = SmoothedLine::perPoint;
    const size_t end = _line.size() - 1;
    _outline.clear();
    _outline.addKept(rib(0));
    float errorBefore = infinite, errorHere = infinite; // next to the ends all are, too
    for (size_t point = 1, i = 1; i < end; ++point, i += perPoint) {
        const float errorAfter = i + perPoint < end ? skipErrorPX(point + 1, outerPX) : infinite;
        const float before = _line.arcPX(i - 1), after = _line.arcPX(i + perPoint);
        const bool hasTurn = std::any_of(std::begin(turns), std::end(turns), [&](float turn) {
            return turn >= before && turn <= after;
        });
        // A sharper bend nearby has edges that reach into this one.
        const float errorNearby = std::max(errorBefore, errorAfter) / 4;
        const float errorPX = hasTurn ? infinite : std::max(errorHere, errorNearby);
        errorBefore = errorHere;
        errorHere = errorAfter;
        if (errorPX <= maxFirstErrorPX) {
            _outline.add(rib(i + perPoint / 2));
            continue;
        }
        if (errorPX == infinite) {
            for (size_t k = 0; k < perPoint; ++k)
                _outline.add(rib(i + k));
            continue;
        }
        size_t stride = perPoint;
        for (float allowed = maxErrorPX; stride > 1 && errorPX > allowed; allowed *= 4)
            stride /= 2;
        for (size_t k = stride / 2; k < perPoint; k += stride)
            _outline.addKept(rib(i + k));
    }
    _outline.addKept(rib(end));
}

// How far the outline is off with one rib for all the smoothed points of a point; with a rib for
// every half of them it is a quarter of that. The points lie on a parabola from the middle of the
// way to the point to the middle of the way on; the edges of the stroke turn with it, farther out.
float InkTessellator::skipErrorPX(size_t point, float outerPX) const {
    const float2 to = _line.way(point - 1), on = _line.way(point);
    const float2 bend = on - to;
    const float bend2 = bend.x * bend.x + bend.y * bend.y;
    const float way2 = std::min(to.x * to.x + to.y * to.y, on.x * on.x + on.y * on.y);
    const float bendPX = std::sqrt(bend2);
    // The inner edge of a bend nearly as tight as the stroke is wide folds.
    if (!(4 * bend2 <= way2 && way2 > 0) || outerPX * bendPX > maxTightness * way2) return infinite;
    return (bendPX + outerPX * bend2 / way2) / 8;
}

} // namespace lanternfly
