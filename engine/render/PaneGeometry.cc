#include "render/PaneGeometry.h"

#include <algorithm>
#include <cmath>

namespace lanternfly {

namespace {

// The matrix without its z row and column: the pane is flat.
glm::dmat3 planar(const float4x4& matrix) {
    const auto column = [&](int index) {
        return glm::dvec3(matrix[index][0], matrix[index][1], matrix[index][3]);
    };
    return {column(0), column(1), column(3)};
}

// Homogeneous clip coordinates to homogeneous pixels.
glm::dmat3 viewport(int width, int height) {
    const double halfWidth = width / 2.0;
    const double halfHeight = height / 2.0;
    return {{halfWidth, 0, 0}, {0, -halfHeight, 0}, {halfWidth, halfHeight, 1}};
}

} // namespace

Quad Quad::padded(float pad, bool vDownward, bool uLeftward) {
    const float edge = 1 + pad;
    const float low = -pad / 2;
    const float high = 1 + pad / 2;
    const float bottom = vDownward ? high : low;
    const float top = vDownward ? low : high;
    const float left = uLeftward ? high : low;
    const float right = uLeftward ? low : high;
    return {{-edge, -edge, left, bottom, edge, -edge, right, bottom, //
             -edge, edge, left, top, edge, edge, right, top}};
}

Quad Quad::stretched(float2 factor, bool vDownward) {
    Quad quad = padded(0, vDownward);
    for (size_t vertex = 0; vertex < 4; ++vertex) {
        quad.vertices[4 * vertex] *= factor.x;
        quad.vertices[4 * vertex + 1] *= factor.y;
    }
    return quad;
}

float4x4 paneMatrix(const PanePlacement& placement) {
    const double longHalf =
        std::max(placement.halfSize.x * placement.frameAspect, placement.halfSize.y);
    const double sinX = std::sin(placement.tiltXRad);
    const double cosX = std::cos(placement.tiltXRad);
    const double sinY = std::sin(placement.tiltYRad);
    const double cosY = std::cos(placement.tiltYRad);

    // Half sides in units of half the frame's height, where x and y measure alike.
    const double sideX = placement.halfSize.x * placement.frameAspect;
    const double sideY = placement.halfSize.y;
    // The pane's x and y axis after both turns; z points at the viewer.
    const glm::dvec3 axisX = glm::dvec3(cosY, 0, -sinY) * sideX;
    const glm::dvec3 axisY = glm::dvec3(sinX * sinY, cosX, sinX * cosY) * sideY;

    const auto column = [&](const glm::dvec3& axis) {
        const double w = longHalf > 0 ? -axis.z / longHalf * panePerspective : 0;
        // Multiplying the centre by w keeps it in place whatever the tilt.
        return float4(axis.x / placement.frameAspect + placement.centre.x * w,
                      axis.y + placement.centre.y * w, 0, w);
    };
    return {column(axisX), column(axisY), float4(0, 0, 1, 0),
            float4(placement.centre.x, placement.centre.y, 0, 1)};
}

bool invert(const float4x4& matrix, const Quad& quad, int width, int height, PixelToPane& result) {
    glm::dmat3 forward = viewport(width, height) * planar(matrix);
    if (quad.isVDownward()) forward[1] = -forward[1];
    if (quad.isULeftward()) forward[0] = -forward[0];
    const glm::dvec3 centre = forward[2];
    if (!(std::abs(centre.z) > 0)) return false;
    result.origin = {centre.x / centre.z, centre.y / centre.z};
    // Measuring from the centre keeps single precision enough further on.
    for (int column = 0; column < 3; ++column) {
        forward[column].x -= result.origin.x * forward[column].z;
        forward[column].y -= result.origin.y * forward[column].z;
    }
    const double size = std::abs(forward[0].x) + std::abs(forward[0].y) + std::abs(forward[1].x) +
                        std::abs(forward[1].y);
    const double determinant = glm::determinant(forward);
    // Edge-on, or thinner than a thousandth of a pixel: nothing that could be seen.
    if (!(std::abs(determinant) > 1e-3 * size) || !(size > 1e-3)) return false;
    const glm::dmat3 back = glm::inverse(forward);
    const double scale = 1 / back[2].z;
    const auto row = [&](int index) {
        return glm::dvec3(back[0][index], back[1][index], back[2][index]) * scale;
    };
    result.x = row(0);
    result.y = row(1);
    result.w = row(2);
    return std::isfinite(result.x.x + result.x.y + result.y.x + result.y.y + result.w.x +
                         result.w.y);
}

PixelRect coveredPixels(const float4x4& matrix, double2 extent, int width, int height) {
    const glm::dmat3 forward = viewport(width, height) * planar(matrix);
    double2 low(1e300);
    double2 high(-1e300);
    for (const double x : {-extent.x, extent.x})
        for (const double y : {-extent.y, extent.y}) {
            const glm::dvec3 corner = forward * glm::dvec3(x, y, 1);
            if (!(corner.z > 0)) return {};
            const double2 point(corner.x / corner.z, corner.y / corner.z);
            low = glm::min(low, point);
            high = glm::max(high, point);
        }
    const auto pixel = [](double value, int limit) {
        return static_cast<int>(std::clamp(value, 0.0, static_cast<double>(limit)));
    };
    return {pixel(std::floor(low.x), width), pixel(std::floor(low.y), height),
            pixel(std::ceil(high.x), width), pixel(std::ceil(high.y), height)};
}

float2 paneHalfExtent(float aspect) {
    return aspect >= 1 ? float2(aspect, 1) : float2(1, 1 / aspect);
}

} // namespace lanternfly
