#include "render/StrokeGeometry.h"

#include <cmath>
#include <optional>

#include "document/HexColor.h"

namespace lanternfly::StrokeGeometry {

namespace {

std::vector<double2> usablePoints(const Stroke& stroke) {
    std::vector<double2> points;
    points.reserve(stroke.points.size());
    for (const auto& point : stroke.points)
        if (point.size() >= 2 && std::isfinite(point[0]) && std::isfinite(point[1]))
            points.emplace_back(point[0], point[1]);
    return points;
}

std::vector<double> arcLengths(std::span<const double2> points) {
    std::vector<double> lengths(points.size(), 0.0);
    for (size_t i = 1; i < points.size(); ++i)
        lengths[i] = lengths[i - 1] + glm::distance(points[i - 1], points[i]);
    return lengths;
}

std::optional<double2> direction(double2 from, double2 to) {
    const double length = glm::distance(from, to);
    if (!(length > 0)) return std::nullopt;
    return (to - from) / length;
}

double2 tangentAt(std::span<const double2> points, size_t i, bool isClosedLoop) {
    const size_t last = points.size() - 1;
    std::optional<double2> incoming, outgoing;
    if (i > 0 || isClosedLoop) incoming = direction(points[i > 0 ? i - 1 : last], points[i]);
    if (i < last || isClosedLoop) outgoing = direction(points[i], points[i < last ? i + 1 : 0]);
    if (incoming && outgoing) {
        const double2 sum = *incoming + *outgoing;
        const double length = glm::length(sum);
        return length > 0 ? sum / length : *incoming;
    }
    return incoming.value_or(outgoing.value_or(double2{1, 0}));
}

} // namespace

float4 parseHexColor(std::string_view color) {
    return lanternfly::parseHexColor(color).value_or(float4{1});
}

std::vector<double2> smoothPolyline(std::span<const double2> points, int iterations) {
    std::vector<double2> current(points.begin(), points.end());
    std::vector<double2> cut;
    for (int iteration = 0; iteration < iterations && current.size() >= 3; ++iteration) {
        const size_t count = current.size();
        cut.clear();
        cut.reserve(2 * count - 2);
        cut.push_back(current.front());
        for (size_t i = 0; i + 1 < count; ++i) {
            if (i >= 1) cut.push_back(0.75 * current[i] + 0.25 * current[i + 1]);
            if (i + 2 < count) cut.push_back(0.25 * current[i] + 0.75 * current[i + 1]);
        }
        cut.push_back(current.back());
        current.swap(cut);
    }
    return current;
}

StrokeMesh tessellate(const Stroke& stroke, const InkProfile& profile, int smoothingIterations,
                      bool isClosedLoop) {
    StrokeMesh mesh{.vertices = {}, .color = parseHexColor(stroke.color)};
    const double baseWidth = std::fmax(stroke.width, 0.0); // NaN counts as 0
    const double feather = std::fmax(profile.featherPX, 0.0);
    const auto points = smoothPolyline(usablePoints(stroke), smoothingIterations);
    if (points.size() < 2) return mesh;
    const auto arc = arcLengths(points);
    const double total = arc.back();
    if (!(total > 0) || !std::isfinite(total)) return mesh;

    const BodyEnvelope envelope = profile.bodyEnvelope(baseWidth, total);
    mesh.vertices.reserve(2 * points.size());
    for (size_t i = 0; i < points.size(); ++i) {
        const EnvelopeSample body =
            isClosedLoop ? EnvelopeSample{baseWidth, 1} : envelope.evaluate(arc[i] / total);
        const double2 tangent = tangentAt(points, i, isClosedLoop);
        const double2 normal{-tangent.y, tangent.x};
        const double core = body.widthPX / 2;
        const double outer = feather + core;
        const auto rib = [&](double side) {
            return Vertex{.position = float2(points[i] + normal * (side * outer)),
                          .coreOffset = static_cast<float>(side * outer),
                          .coreHalfWidth = static_cast<float>(core),
                          .featherHalfWidth = static_cast<float>(outer),
                          .alpha = static_cast<float>(body.alpha)};
        };
        mesh.vertices.push_back(rib(+1));
        mesh.vertices.push_back(rib(-1));
    }
    return mesh;
}

} // namespace lanternfly::StrokeGeometry
