#include "render/StrokeGeometry.h"

#include <cmath>

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

// The way from a point to the next.
struct Segment {
    double lengthPX = 0;
    double2 direction{0}; // of length 1; 0 for a way without length

    Segment(double2 from, double2 to) {
        const double2 way = to - from;
        lengthPX = std::sqrt(way.x * way.x + way.y * way.y);
        if (lengthPX > 0) direction = way / lengthPX;
    }
};

double2 tangentBetween(double2 incoming, double2 outgoing) {
    const double2 sum = incoming + outgoing;
    const double length = std::sqrt(sum.x * sum.x + sum.y * sum.y);
    if (length > 0) return sum / length;
    return incoming != double2(0) ? incoming : double2(1, 0);
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
    std::vector<Segment> segments;
    segments.reserve(points.size());
    double total = 0;
    for (size_t i = 0; i + 1 < points.size(); ++i)
        total += segments.emplace_back(points[i], points[i + 1]).lengthPX;
    if (!(total > 0) || !std::isfinite(total)) return mesh;
    // After the last point, and so before the first: the closing segment, or none.
    segments.emplace_back(points.back(), isClosedLoop ? points.front() : points.back());

    const BodyEnvelope envelope = profile.bodyEnvelope(baseWidth, total);
    mesh.vertices.resize(2 * points.size());
    Vertex* vertex = mesh.vertices.data();
    double2 incoming = segments.back().direction;
    double arc = 0;
    for (size_t i = 0; i < points.size(); ++i) {
        const Segment& next = segments[i];
        const EnvelopeSample body =
            isClosedLoop ? EnvelopeSample{baseWidth, 1} : envelope.evaluate(arc / total);
        const double2 tangent = tangentBetween(incoming, next.direction);
        const double core = body.widthPX / 2;
        const double outer = feather + core;
        const double2 toRib = double2{-tangent.y, tangent.x} * outer;
        *vertex++ = {float2(points[i] + toRib), static_cast<float>(outer), static_cast<float>(core),
                     static_cast<float>(outer), static_cast<float>(body.alpha)};
        *vertex++ = {float2(points[i] - toRib), static_cast<float>(-outer),
                     static_cast<float>(core), static_cast<float>(outer),
                     static_cast<float>(body.alpha)};
        incoming = next.direction;
        arc += next.lengthPX;
    }
    return mesh;
}

} // namespace lanternfly::StrokeGeometry
