#include <algorithm>
#include <cmath>

#include "Scenes.h"
#include "support/Pictures.h"

namespace lanternfly::test {

namespace {

// Red, green, blue and coverage, straight, 0…1.
using Paint = glm::dvec4;

Paint over(Paint below, glm::dvec3 color, double coverage) {
    coverage = std::clamp(coverage, 0.0, 1.0);
    const double alpha = coverage + below.a * (1 - coverage);
    if (!(alpha > 0)) return Paint(0);
    return {(color * coverage + glm::dvec3(below) * below.a * (1 - coverage)) / alpha, alpha};
}

void setPremultiplied(PixelBuffer& pixels, int x, int y, const Paint& paint) {
    const auto byte = [&](double value) {
        return static_cast<int>(std::lround(std::clamp(value, 0.0, 1.0) * 255));
    };
    setPixel(pixels, x, y, byte(paint.r * paint.a), byte(paint.g * paint.a),
             byte(paint.b * paint.a), byte(paint.a));
}

template <typename PaintAt>
PixelBufferRef painted(int width, int height, const PaintAt& paintAt) {
    auto pixels = PixelBuffer::create(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            setPremultiplied(*pixels, x, y, paintAt(x + 0.5, y + 0.5));
    return pixels;
}

} // namespace

PixelBufferRef modelPicture(int width, int height) {
    const double2 centre(width * 0.5, height * 0.52);
    const double radius = std::min(width, height) * 0.28;
    return painted(width, height, [&](double x, double y) {
        const double2 p = (double2(x, y) - centre) / radius;
        Paint paint(0);
        const double ballCoverage = (1 - glm::length(p)) * radius + 0.5;
        const double z = std::sqrt(std::max(1 - glm::dot(p, p), 0.0));
        const double light = std::max(p.x * -0.45 + p.y * -0.6 + z * 0.66, 0.0);
        const double shine = std::pow(std::max(p.x * -0.3 + p.y * -0.42 + z * 0.86, 0.0), 40);
        const glm::dvec3 ball = glm::dvec3(0.85, 0.3, 0.12) * (0.12 + 0.9 * light) + shine * 0.8;
        // A flat ring around the ball, hidden behind it in its upper half.
        const double ringDistance = std::abs(glm::length(double2(p.x, p.y * 3.2)) - 1.5) - 0.14;
        const double ringCoverage = -ringDistance * radius / 2 + 0.5;
        const glm::dvec3 ringColor = glm::dvec3(0.95, 0.85, 0.6) * (0.55 + 0.25 * p.x);
        if (p.y < 0) paint = over(paint, ringColor, ringCoverage);
        paint = over(paint, ball, ballCoverage);
        if (p.y >= 0) paint = over(paint, ringColor, ringCoverage);
        return paint;
    });
}

PixelBufferRef annotationPicture(int width, int height) {
    const double unit = height / 100.0;
    return painted(width, height, [&](double x, double y) {
        const double2 p = double2(x, y) / unit;
        Paint paint(0);
        const auto box = [&](double2 low, double2 high) {
            const double2 d = glm::max(low - p, p - high);
            return std::max(d.x, d.y);
        };
        const auto fill = [&](double distance, glm::dvec3 color, double strength) {
            paint = over(paint, color, std::clamp(0.5 - distance * unit, 0.0, 1.0) * strength);
        };
        fill(box({18, 22}, {92, 52}), {0.05, 0.08, 0.12}, 0.55);
        fill(std::abs(box({18, 22}, {92, 52})) - 0.5, {1, 1, 1}, 0.9);
        for (int word = 0; word < 4; ++word)
            fill(box({24.0 + 16 * word, 30}, {36.0 + 16 * word, 34}), {1, 0.92, 0.4}, 1);
        for (int word = 0; word < 3; ++word)
            fill(box({24.0 + 20 * word, 40}, {40.0 + 20 * word, 43}), {0.6, 0.9, 1}, 0.8);
        const double2 along(0.8, 0.6);
        const double2 q = p - double2(96, 56);
        const double t = std::clamp(glm::dot(q, along), 0.0, 28.0);
        fill(glm::length(q - along * t) - 1.2, {1, 0.3, 0.25}, 1);
        return paint;
    });
}

} // namespace lanternfly::test
