#include "render/LayerInk.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace lanternfly {
namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinite = std::numeric_limits<double>::infinity();
constexpr DrawingViewport viewport{1920, 1080};
constexpr double featherPX = StrokeGeometry::InkProfile::studioDraw.featherPX;

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

LayerInk inkOf(std::vector<Layer> layers, const LayerInk& before = {}) {
    return {std::make_shared<const std::vector<Layer>>(std::move(layers)), before};
}

TEST(LayerInk, ADotIsOneAndAQuarterStrokeWidthsAcross) {
    for (const double width : {6.4, 7.0, 8.0, 12.0, 20.0, 40.0, 200.0})
        EXPECT_NEAR(acrossPX(dotOf(width)), 1.25 * width, 1e-4 * width) << width;
}

TEST(LayerInk, ADotIsNoSmallerThanItsFeather) {
    for (const double width : {6.0, 1.0, 0.0, -5.0, notANumber}) {
        EXPECT_GT(acrossPX(dotOf(width)), 2 * featherPX) << width;
        EXPECT_NEAR(acrossPX(dotOf(width)), 8, 1e-3) << width;
    }
}

TEST(LayerInk, ADotIsRoundWithoutAGap) {
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

TEST(LayerInk, ADotIsSolidInTheMiddleAndSoftAtTheRim) {
    for (const Vertex& vertex : dotOf(20)) {
        EXPECT_EQ(vertex.alpha, 1);
        EXPECT_NEAR(vertex.featherHalfWidth - vertex.coreHalfWidth, featherPX, 1e-4);
        // The middle is as far from the ring's centre line as the core reaches.
        EXPECT_NEAR(vertex.coreHalfWidth, (12.5 - featherPX) / 2, 1e-4);
    }
}

TEST(LayerInk, ADotKeepsColourAndViewport) {
    const auto batch = inkBatch({"#FF000080", 8, {{1, 2}}}, viewport);
    ASSERT_TRUE(batch);
    EXPECT_EQ(batch->color, (float4{1, 0, 0, 128 / 255.0f}));
    EXPECT_EQ(batch->viewportWidthPX, 1920);
    EXPECT_EQ(batch->viewportHeightPX, 1080);
}

TEST(LayerInk, ALineIsSmoothedThreeTimesAndOpen) {
    const Stroke corner{"#FFFFFF", 8, {{0, 0}, {100, 0}, {100, 100}}};
    const auto batch = inkBatch(corner, viewport);
    ASSERT_TRUE(batch);
    EXPECT_EQ(*batch, StrokeBatch(StrokeGeometry::tessellate(
                                      corner, StrokeGeometry::InkProfile::studioDraw, 3, false),
                                  viewport));
    EXPECT_EQ(batch->triangleStripVertexCount, 20); // 3, 4, 6, 10 points
}

TEST(LayerInk, WhatHasNoExtentIsNotDrawn) {
    for (const Stroke& nothing :
         {Stroke{"#FFFFFF", 8, {{5, 5}, {5, 5}}}, Stroke{"#FFFFFF", 8, {}},
          Stroke{"#FFFFFF", 8, {{5}}}, Stroke{"#FFFFFF", 8, {{}}},
          Stroke{"#FFFFFF", 8, {{notANumber, 5}}}, Stroke{"#FFFFFF", 8, {{5, infinite}}},
          Stroke{"#FFFFFF", 8, {{5, 5}, {notANumber, 7}}}})
        EXPECT_EQ(inkBatch(nothing, viewport), std::nullopt);
}

TEST(LayerInk, NumbersBeyondAnySurfaceAreNotDrawn) {
    for (const Stroke& far :
         {Stroke{"#FFFFFF", 8, {{1e300, 5}}}, Stroke{"#FFFFFF", 8, {{0, 0}, {5, -1e38}}},
          Stroke{"#FFFFFF", 1e300, {{5, 5}}}, Stroke{"#FFFFFF", infinite, {{0, 0}, {5, 5}}}})
        EXPECT_EQ(inkBatch(far, viewport), std::nullopt);
    const auto odd = inkBatch({"#FFFFFF", notANumber, {{0, 0}, {infinite, 3}, {9, 9}}}, viewport);
    ASSERT_TRUE(odd);
    for (const float number : odd->vertexBuffer)
        EXPECT_TRUE(std::isfinite(number));
}

TEST(LayerInk, TheStrokesOfAllDrawingLayersComeInOrder) {
    const auto drawing = [](double width, DrawingViewport surface) {
        DrawingContent content{.viewport = surface};
        for (const char* color : {"#FF0000", "#00FF00"})
            content.strokes.push_back({color, width, {{0, 0}, {50, 0}}});
        return Layer{.id = "lyr", .kind = LayerKind::drawing, .content = content};
    };
    Layer caption = drawing(8, viewport);
    caption.kind = LayerKind::caption;
    const Layer other{.id = "lyr", .kind = LayerKind::drawing, .content = TextContent{"text"}};
    const auto batches =
        *inkOf({drawing(8, viewport), caption, other, drawing(4, {640, 480})}).batches();
    ASSERT_EQ(batches.size(), 4u);
    EXPECT_EQ(batches[0]->color, (float4{1, 0, 0, 1}));
    EXPECT_EQ(batches[1]->color, (float4{0, 1, 0, 1}));
    EXPECT_EQ(batches[1]->viewportWidthPX, 1920);
    EXPECT_EQ(batches[2]->viewportWidthPX, 640);
    EXPECT_TRUE(inkOf({}).batches()->empty());
}

TEST(LayerInk, AStrokeThatDidNotChangeKeepsItsBatch) {
    const auto layerOf = [](std::vector<Stroke> strokes) {
        return Layer{.id = "lyr",
                     .kind = LayerKind::drawing,
                     .content =
                         DrawingContent{.strokes = std::move(strokes), .viewport = viewport}};
    };
    const Stroke a{"#FF0000", 8, {{0, 0}, {50, 0}}}, b{"#00FF00", 8, {{0, 9}, {50, 9}}},
        nothing{"#00FF00", 8, {{5, 5}, {5, 5}}}, c{"#0000FF", 8, {{7, 7}}};
    Stroke longer = b;
    longer.points.push_back({90, 9});
    const LayerInk first = inkOf({layerOf({a, b, nothing, c})});
    const auto& before = *first.batches();
    ASSERT_EQ(before.size(), 3u);

    const LayerInk grown = inkOf({layerOf({a, longer, nothing, c})}, first);
    const auto& after = *grown.batches();
    ASSERT_EQ(after.size(), 3u);
    EXPECT_EQ(after[0], before[0]);
    EXPECT_NE(after[1], before[1]);
    EXPECT_EQ(*after[1], *inkBatch(longer, viewport));
    EXPECT_EQ(after[2], before[2]);

    const LayerInk shorter = inkOf({layerOf({longer, c})}, grown);
    EXPECT_EQ(*shorter.batches(), (std::vector{after[1], after[2]})) << "others are gone";

    for (Stroke changed : {Stroke{"#FF0001", 8, a.points}, Stroke{"#FF0000", 9, a.points},
                           Stroke{"#FF0000", 8, {{1, 0}, {50, 0}}}})
        EXPECT_NE(inkOf({layerOf({changed, b})}, first).batches()->front(), before[0]);
    Layer elsewhere = layerOf({a});
    std::get<DrawingContent>(elsewhere.content).viewport = {640, 480};
    EXPECT_EQ(inkOf({elsewhere}, first).batches()->front()->viewportWidthPX, 640);
}

} // namespace
} // namespace lanternfly
