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

// How many strokes may be looked through for one that is the same.
constexpr size_t maxGoneStrokes = 256;

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

LayerInk::LayerInk(Layers layers, const LayerInk& before) : _layers(std::move(layers)) {
    std::vector<StrokeBatchRef> batches;
    size_t passed = 0; // of the strokes before: what stays keeps its order
    for (const Layer& layer : *_layers) {
        const auto* drawing = std::get_if<DrawingContent>(&layer.content);
        if (layer.kind != LayerKind::drawing || !drawing) continue;
        for (const Stroke& stroke : drawing->strokes) {
            Drawn drawn{&stroke, &drawing->viewport, nullptr};
            const size_t end = std::min(passed + maxGoneStrokes, before._drawn.size());
            size_t same = passed;
            while (same < end && !isSame(before._drawn[same], drawn))
                ++same;
            if (same < end) {
                drawn.batch = before._drawn[same].batch;
                passed = same + 1;
            } else if (auto batch = inkBatch(stroke, drawing->viewport)) {
                drawn.batch = std::make_shared<const StrokeBatch>(std::move(*batch));
            }
            if (drawn.batch) batches.push_back(drawn.batch);
            _drawn.push_back(std::move(drawn));
        }
    }
    if (!batches.empty())
        _batches = std::make_shared<const std::vector<StrokeBatchRef>>(std::move(batches));
}

bool LayerInk::isSame(const Drawn& a, const Drawn& b) {
    // Most strokes differ in these already.
    return a.stroke->points.size() == b.stroke->points.size() &&
           (a.stroke->points.empty() || a.stroke->points.back() == b.stroke->points.back()) &&
           *a.viewport == *b.viewport && *a.stroke == *b.stroke;
}

} // namespace lanternfly
