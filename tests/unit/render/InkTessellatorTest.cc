#include "render/InkTessellator.h"

#include <cmath>
#include <functional>
#include <limits>

#include <gtest/gtest.h>

namespace lanternfly {
namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinite = std::numeric_limits<double>::infinity();
constexpr DrawingViewport viewport{1920, 1080};
constexpr double featherPX = StrokeGeometry::InkProfile::studioDraw.featherPX;
const Stroke corner{"#FFFFFF", 8, {{0, 0}, {100, 0}, {100, 100}}};

std::optional<StrokeBatch> inkBatch(const Stroke& stroke, const DrawingViewport& surface) {
    return InkTessellator{}.batch(stroke, surface);
}

struct Vertex {
    double2 position;
    float coreOffset, coreHalfWidth, featherHalfWidth, alpha;
};

std::vector<Vertex> verticesOf(const StrokeBatch& batch) {
    std::vector<Vertex> vertices;
    for (size_t i = 0; i + 5 < batch.vertexBuffer.size(); i += 6) {
        const float* v = &batch.vertexBuffer[i];
        vertices.push_back({{v[0], v[1]}, v[2], v[3], v[4], v[5]});
    }
    return vertices;
}

std::vector<Vertex> dotOf(double width, double2 at = {100, 50}) {
    const auto batch = inkBatch({"#FF0000", width, {{at.x, at.y}}}, viewport);
    EXPECT_TRUE(batch);
    return batch ? verticesOf(*batch) : std::vector<Vertex>{};
}

double acrossPX(const std::vector<Vertex>& vertices, double2 center = {100, 50}) {
    double farthest = 0;
    for (const Vertex& vertex : vertices)
        farthest = std::max(farthest, glm::distance(vertex.position, center));
    return 2 * farthest;
}

bool isInside(double2 point, double2 a, double2 b, double2 c) {
    const auto side = [&](double2 from, double2 to) {
        const double2 along = to - from, across = point - from;
        return along.x * across.y - along.y * across.x;
    };
    const double ab = side(a, b), bc = side(b, c), ca = side(c, a);
    return (ab >= 0 && bc >= 0 && ca >= 0) || (ab <= 0 && bc <= 0 && ca <= 0);
}

// Whether a triangle of the strip covers the point.
bool isCovered(const std::vector<Vertex>& strip, double2 point) {
    for (size_t i = 0; i + 2 < strip.size(); ++i)
        if (isInside(point, strip[i].position, strip[i + 1].position, strip[i + 2].position))
            return true;
    return false;
}

TEST(InkTessellator, ADotIsOneAndAQuarterStrokeWidthsAcross) {
    for (const double width : {6.4, 7.0, 8.0, 12.0, 20.0, 40.0, 200.0})
        EXPECT_NEAR(acrossPX(dotOf(width)), 1.25 * width, 1e-4 * width) << width;
}

TEST(InkTessellator, ADotIsNoSmallerThanItsFeather) {
    for (const double width : {6.0, 1.0, 0.0, -5.0, notANumber}) {
        EXPECT_GT(acrossPX(dotOf(width)), 2 * featherPX) << width;
        EXPECT_NEAR(acrossPX(dotOf(width)), 8, 1e-3) << width;
    }
}

TEST(InkTessellator, ADotIsRoundWithoutAGap) {
    for (const double width : {1.0, 8.0, 20.0, 100.0}) {
        const auto strip = dotOf(width);
        EXPECT_EQ(strip.size(), 50u) << "24 ribs and the first once more";
        // Between two ribs the rim is a chord: at half a step it lies at cos(7.5°) of the radius.
        const double safeRadius = acrossPX(strip) / 2 * std::cos(M_PI / 24) * 0.999;
        for (const double part : {0.0, 0.3, 0.6, 1.0})
            for (int degree = 0; degree < 360; ++degree) {
                const double angle = degree * M_PI / 180;
                const double2 at = double2{100, 50} +
                                   part * safeRadius * double2{std::cos(angle), std::sin(angle)};
                ASSERT_TRUE(isCovered(strip, at)) << width << " at " << part << ", " << degree;
            }
    }
}

TEST(InkTessellator, ADotIsSolidInTheMiddleAndSoftAtTheRim) {
    for (const Vertex& vertex : dotOf(20)) {
        EXPECT_EQ(vertex.alpha, 1);
        EXPECT_NEAR(vertex.featherHalfWidth - vertex.coreHalfWidth, featherPX, 1e-4);
        // The middle is as far from the ring's centre line as the core reaches.
        EXPECT_NEAR(vertex.coreHalfWidth, (12.5 - featherPX) / 2, 1e-4);
    }
}

TEST(InkTessellator, ADotKeepsColourAndViewport) {
    const auto batch = inkBatch({"#FF000080", 8, {{1, 2}}}, viewport);
    ASSERT_TRUE(batch);
    EXPECT_EQ(batch->color, (float4{1, 0, 0, 128 / 255.0f}));
    EXPECT_EQ(batch->viewportWidthPX, 1920);
    EXPECT_EQ(batch->viewportHeightPX, 1080);
}

TEST(InkTessellator, ALineOfCornersHasTheVerticesOfItsMesh) {
    const auto mesh =
        StrokeGeometry::tessellate(corner, StrokeGeometry::InkProfile::studioDraw, 3, false);
    const auto batch = inkBatch(corner, viewport);
    ASSERT_TRUE(batch);
    const auto strip = verticesOf(*batch);
    ASSERT_EQ(mesh.vertices.size(), 20u); // 3, 4, 6, 10 points
    for (const size_t end : {size_t{0}, size_t{1}}) {
        EXPECT_NEAR(glm::distance(double2(mesh.vertices[end].position), strip[end].position), 0,
                    1e-4);
        EXPECT_EQ(strip[end].alpha, 1);
    }
    EXPECT_NEAR(strip.back().alpha, 0, 1e-6);
    EXPECT_NEAR(glm::distance(double2(mesh.vertices.back().position), strip.back().position), 0,
                1e-4);
}

// Where a vertex of the whole mesh may be found on an edge of the strip, `first` 0 or 1.
bool isOnEdge(const StrokeGeometry::Vertex& vertex, const std::vector<Vertex>& strip,
              size_t first) {
    const double2 at(vertex.position);
    for (size_t i = first; i + 2 < strip.size(); i += 2) {
        const Vertex &a = strip[i], &b = strip[i + 2];
        const double2 way = b.position - a.position;
        const double t = std::clamp(
            glm::dot(at - a.position, way) / std::max(glm::dot(way, way), 1e-12), 0., 1.);
        const auto between = [t](double from, double to) { return from + t * (to - from); };
        if (glm::distance(at, a.position + t * way) <= InkTessellator::maxErrorPX &&
            std::abs(between(a.coreHalfWidth, b.coreHalfWidth) - vertex.coreHalfWidth) <=
                InkTessellator::maxErrorPX &&
            std::abs(between(a.coreOffset, b.coreOffset) - vertex.coreOffset) <=
                InkTessellator::maxErrorPX &&
            std::abs(between(a.alpha, b.alpha) - vertex.alpha) <= 0.03)
            return true;
    }
    return false;
}

struct Line {
    const char* name;
    double width;
    std::function<double2(int)> at;
    int points = 200;
};

TEST(InkTessellator, EveryVertexOfTheWholeMeshLiesOnTheOutline) {
    uint32_t seed = 5;
    const auto random = [&seed] {
        seed = seed * 1664525u + 1013904223u;
        return static_cast<double>(seed >> 8) / (1 << 24);
    };
    double2 walk{300, 300}, ahead{4, 0};
    const Line lines[] = {
        {"a wave", 7, [](int i) { return double2(50 + 1.7 * i, 200 + 60 * std::sin(0.03 * i)); }},
        {"wide", 60, [](int i) { return double2(50 + 1.7 * i, 200 + 60 * std::sin(0.03 * i)); }},
        {"small loops", 5,
         [](int i) {
             return double2(90 + 0.5 * i + 9 * std::cos(0.2 * i), 9 * std::sin(0.2 * i));
         }},
        {"few points", 8, [](int i) { return double2(90 * i, i % 2 ? 40 : 300); }, 9},
        {"straight", 8, [](int i) { return double2(90 * i, 40 * i); }, 5},
        {"two points", 8, [](int i) { return double2(90 * i, 40 * i); }, 2},
        {"four points", 8, [](int i) { return double2(90 * i, 9 * i * i); }, 4},
        {"whole pixels", 7,
         [](int i) {
             return double2(std::round(1.3 * i), std::round(60 + 50 * std::sin(0.02 * i)));
         }},
        {"a shaking hand", 7,
         [&](int) {
             ahead = 0.9 * ahead + double2(random() - 0.5, random() - 0.5);
             return walk += ahead;
         }},
        {"resting", 7, [](int i) { return double2(3.0 * (i / 5), 7.0 * (i / 9)); }},
        {"a bend on the spot", 7,
         [](int i) { return double2(200 + 3 * std::sin(0.06 * i), 3 * std::cos(0.06 * i)); }},
        {"a narrowing spiral", 12,
         [](int i) {
             return double2(300 + (40 - 0.2 * i) * std::cos(0.15 * i),
                            (40 - 0.2 * i) * std::sin(0.15 * i));
         }},
        {"there and back", 7, [](int i) { return double2(std::abs(i - 100) * 2.5, 80); }},
        {"no width", -3, [](int i) { return double2(50 + 1.7 * i, 60 * std::sin(0.03 * i)); }},
        {"anywhere", 9, [&](int) { return 500. * double2(random(), random()); }, 40},
        {"one sharp turn", 7, [](int i) { return double2(i < 90 ? i : 90, i < 90 ? 0 : i - 90); }},
    };
    for (const Line& line : lines) {
        Stroke stroke{"#FFFFFF", line.width, {}};
        for (int i = 0; i < line.points; ++i) {
            const double2 at = line.at(i);
            stroke.points.push_back({at.x, at.y});
        }
        const auto mesh =
            StrokeGeometry::tessellate(stroke, StrokeGeometry::InkProfile::studioDraw, 3, false);
        const auto batch = inkBatch(stroke, viewport);
        ASSERT_TRUE(batch) << line.name;
        EXPECT_EQ(batch->color, mesh.color);
        EXPECT_EQ(batch->vertexBuffer.size(),
                  static_cast<size_t>(batch->triangleStripVertexCount) * 6);
        const auto strip = verticesOf(*batch);
        EXPECT_LE(strip.size(), mesh.vertices.size()) << line.name;
        for (size_t i = 0; i < mesh.vertices.size(); ++i)
            ASSERT_TRUE(isOnEdge(mesh.vertices[i], strip, i % 2))
                << line.name << ", vertex " << i << " of " << mesh.vertices.size();
    }
}

TEST(InkTessellator, ALongCurveKeepsAFractionOfItsVertices) {
    Stroke curve{"#FFFFFF", 7, {}};
    for (int i = 0; i < 500; ++i)
        curve.points.push_back({60 + 1.5 * i, 400 + 200 * std::sin(0.02 * i)});
    const auto batch = inkBatch(curve, viewport);
    ASSERT_TRUE(batch);
    EXPECT_LT(batch->triangleStripVertexCount, 2 * 8 * 500 / 10);
    EXPECT_GT(batch->triangleStripVertexCount, 100);
}

// A hand that turns back slows down: many points in a bend tighter than the stroke is wide.
TEST(InkTessellator, ATightBendKeepsAFractionOfItsVertices) {
    Stroke bend{"#FFFFFF", 7, {}};
    for (int i = 0; i < 100; ++i)
        bend.points.push_back({300 - 2 * std::abs(i - 50.0), 200 + 0.001 * std::pow(i - 50, 3)});
    for (int i = 0; i < 100; ++i)
        bend.points.push_back({200 + 3 * std::sin(0.063 * i), 325 + 3 * std::cos(0.063 * i)});
    const auto batch = inkBatch(bend, viewport);
    ASSERT_TRUE(batch);
    EXPECT_LT(batch->triangleStripVertexCount, 2 * 8 * 200 / 8);
    EXPECT_GT(batch->triangleStripVertexCount, 100);
}

TEST(InkTessellator, AStrokeDoesNotDependOnTheOneBefore) {
    InkTessellator tessellator;
    const Stroke longer{"#00FF00", 9, {{0, 0}, {50, 0}, {80, 90}, {10, 300}, {0, 0}}};
    for (const Stroke& stroke : {longer, corner, Stroke{"#0000FF", 3, {{5, 5}, {60, 7}}}, corner})
        EXPECT_EQ(tessellator.batch(stroke, viewport), inkBatch(stroke, viewport));
}

TEST(InkTessellator, WhatHasNoExtentIsNotDrawn) {
    for (const Stroke& nothing :
         {Stroke{"#FFFFFF", 8, {{5, 5}, {5, 5}}}, Stroke{"#FFFFFF", 8, {}},
          Stroke{"#FFFFFF", 8, {{5}}}, Stroke{"#FFFFFF", 8, {{}}},
          Stroke{"#FFFFFF", 8, {{notANumber, 5}}}, Stroke{"#FFFFFF", 8, {{5, infinite}}},
          Stroke{"#FFFFFF", 8, {{5, 5}, {notANumber, 7}}}})
        EXPECT_EQ(inkBatch(nothing, viewport), std::nullopt);
}

TEST(InkTessellator, NumbersBeyondAnySurfaceAreNotDrawn) {
    for (const Stroke& far :
         {Stroke{"#FFFFFF", 8, {{1e300, 5}}}, Stroke{"#FFFFFF", 8, {{0, 0}, {5, -1e38}}},
          Stroke{"#FFFFFF", 1e300, {{5, 5}}}, Stroke{"#FFFFFF", infinite, {{0, 0}, {5, 5}}}})
        EXPECT_EQ(inkBatch(far, viewport), std::nullopt);
    const auto odd = inkBatch({"#FFFFFF", notANumber, {{0, 0}, {infinite, 3}, {9, 9}}}, viewport);
    ASSERT_TRUE(odd);
    for (const float number : odd->vertexBuffer)
        EXPECT_TRUE(std::isfinite(number));
}

} // namespace
} // namespace lanternfly
