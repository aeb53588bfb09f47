#include "render/LayerInk.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace lanternfly {

namespace {

using StrokeGeometry::InkProfile;
using StrokeGeometry::StrokeMesh;

constexpr int lineSmoothing = 3;
constexpr int dotPoints = 24;
constexpr double dotPerStrokeWidth = 1.25;   // across; reads slightly larger than the line's core
constexpr double smallestDotRadiusPX = 0.25; // of the ring: a ring without length has no mesh
constexpr double farthestPX = 1e6; // from the viewport's corner; beyond it floats lose the pixel

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
StrokeMesh dot(const Stroke& stroke, const InkProfile& profile) {
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

std::optional<StrokeBatch> inkBatch(const Stroke& stroke, const DrawingViewport& viewport) {
    if (!isDrawable(stroke)) return std::nullopt;
    const StrokeMesh mesh =
        stroke.points.size() == 1
            ? dot(stroke, InkProfile::studioDraw)
            : StrokeGeometry::tessellate(stroke, InkProfile::studioDraw, lineSmoothing, false);
    StrokeBatch batch(mesh, viewport);
    if (batch.isEmpty()) return std::nullopt;
    return batch;
}

std::vector<StrokeBatch> inkBatches(std::span<const Layer> layers) {
    std::vector<StrokeBatch> batches;
    for (const Layer& layer : layers) {
        const auto* drawing = std::get_if<DrawingContent>(&layer.content);
        if (layer.kind != LayerKind::drawing || !drawing) continue;
        for (const Stroke& stroke : drawing->strokes)
            if (auto batch = inkBatch(stroke, drawing->viewport))
                batches.push_back(std::move(*batch));
    }
    return batches;
}

} // namespace lanternfly
