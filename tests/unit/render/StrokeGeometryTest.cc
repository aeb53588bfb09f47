#include "render/StrokeGeometry.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace lanternfly::StrokeGeometry {

namespace {

Stroke strokeOf(std::vector<Stroke::Point> points, double width = 7) {
    return {.color = "#FFFFFFE6", .width = width, .points = std::move(points)};
}

double widthPX(const Vertex& vertex) {
    return 2.0 * vertex.coreHalfWidth;
}

Stroke straightStroke(double lengthPX, int pointCount) {
    std::vector<Stroke::Point> points;
    for (int i = 0; i < pointCount; ++i)
        points.push_back({lengthPX * i / (pointCount - 1), 40.0});
    return strokeOf(std::move(points));
}

} // namespace

TEST(StrokeGeometry, AStrokeWithOneUsablePointHasNoMesh) {
    EXPECT_TRUE(tessellate(strokeOf({{3, 4}}), InkProfile::studioDraw, 3, false).vertices.empty());
    EXPECT_TRUE(
        tessellate(strokeOf({{3, 4}, {5}, {}}), InkProfile::studioDraw, 0, false).vertices.empty());
}

TEST(StrokeGeometry, AStrokeWhosePointsAreAllEqualHasNoMesh) {
    const auto mesh =
        tessellate(strokeOf({{3, 4}, {3, 4}, {3, 4}}), InkProfile::studioDraw, 3, false);
    EXPECT_EQ(mesh.triangleStripVertexCount(), 0);
}

TEST(StrokeGeometry, TwoPointsGiveFourVerticesThinAtBothEndsAndFadedAtTheTail) {
    const auto mesh = tessellate(strokeOf({{0, 0}, {100, 0}}, 7), InkProfile::studioDraw, 3, false);
    ASSERT_EQ(mesh.triangleStripVertexCount(), 4);
    EXPECT_NEAR(widthPX(mesh.vertices[0]), 7 * 0.1875, 1e-5);
    EXPECT_FLOAT_EQ(mesh.vertices[0].alpha, 1);
    EXPECT_NEAR(widthPX(mesh.vertices[3]), 7 * 0.1875, 1e-5);
    EXPECT_NEAR(mesh.vertices[3].alpha, 0, 1e-6);
}

TEST(StrokeGeometry, RibsStandLeftThenRightAtTheOuterFeatheredEdge) {
    const auto mesh = tessellate(strokeOf({{0, 0}, {100, 0}}, 8), InkProfile::studioDraw, 0, false);
    const Vertex& left = mesh.vertices[0];
    const Vertex& right = mesh.vertices[1];
    const float outer = 3.5f + 8 * 0.1875f / 2;
    EXPECT_FLOAT_EQ(left.coreOffset, outer);
    EXPECT_FLOAT_EQ(right.coreOffset, -outer);
    EXPECT_FLOAT_EQ(left.position.y, outer); // the normal of a tangent along +x is +y
    EXPECT_FLOAT_EQ(right.position.y, -outer);
    EXPECT_FLOAT_EQ(left.featherHalfWidth, outer);
}

TEST(StrokeGeometry, ALongStrokeFadesOverTwelvePixelsAndTapersOverAFifth) {
    const auto mesh = tessellate(straightStroke(1000, 1001), InkProfile::studioDraw, 0, false);
    const auto at = [&](int px) { return mesh.vertices[static_cast<size_t>(2 * px)]; };
    EXPECT_FLOAT_EQ(at(987).alpha, 1);
    EXPECT_NEAR(at(994).alpha, 0.5, 1e-5);
    EXPECT_NEAR(at(1000).alpha, 0, 1e-6);
    EXPECT_NEAR(widthPX(at(800)), 7, 1e-5);
    EXPECT_LT(widthPX(at(801)), 7);
    EXPECT_NEAR(widthPX(at(900)), 7 * (1 + 0.5 * (0.1875 - 1)), 1e-5);
}

TEST(StrokeGeometry, TheHeadGrowsOverItsOnsetAtFullOpacity) {
    const auto mesh = tessellate(straightStroke(1000, 1001), InkProfile::studioDraw, 0, false);
    EXPECT_NEAR(widthPX(mesh.vertices[2 * 40]), 7 * (0.1875 + 0.5 * (1 - 0.1875)), 1e-5);
    EXPECT_FLOAT_EQ(mesh.vertices[2 * 40].alpha, 1);
    EXPECT_NEAR(widthPX(mesh.vertices[2 * 80]), 7, 1e-5);
}

TEST(StrokeGeometry, AShortStrokeFadesOverItsLastTenth) {
    EXPECT_NEAR(InkProfile::studioDraw.bodyEnvelope(7, 100).tailAlphaTaperStart, 0.9, 1e-12);
    EXPECT_NEAR(InkProfile::studioDraw.bodyEnvelope(7, 1200).tailAlphaTaperStart, 0.99, 1e-12);
    EXPECT_NEAR(InkProfile::studioDraw.bodyEnvelope(7).tailAlphaTaperStart, 0.9, 1e-12);
    EXPECT_NEAR(InkProfile::studioDraw.bodyEnvelope(7, -5).tailAlphaTaperStart, 0.9, 1e-12);
}

TEST(StrokeGeometry, AFadeThatWouldBeginBeforeTheTaperIsNotApplied) {
    InkProfile profile;
    profile.tailTaperFraction = 0.1;
    profile.tailAlphaTaperMaxFraction = 0.5;
    const auto envelope = profile.bodyEnvelope(10);
    EXPECT_EQ(envelope.evaluate(0.8).alpha, 1);
    EXPECT_NEAR(envelope.evaluate(0.95).alpha, 0.1, 1e-12);
}

TEST(StrokeGeometry, ColoursAreSixOrEightHexDigits) {
    EXPECT_EQ(parseHexColor("#FF000080"), float4(1, 0, 0, 128 / 255.0f));
    EXPECT_EQ(parseHexColor("FF0000"), float4(1, 0, 0, 1));
    EXPECT_EQ(parseHexColor("#FFFFFFE6"), float4(1, 1, 1, 230 / 255.0f));
    for (const char* wrong : {"#FFF", "#GG0000", "", "#", "##FF0000", "+FF000", "-FF000", " FF000"})
        EXPECT_EQ(parseHexColor(wrong), float4(1, 1, 1, 1)) << wrong;
}

TEST(StrokeGeometry, SmoothingKeepsEndPointsAndCutsCorners) {
    const std::vector<double2> corner{{0, 0}, {10, 0}, {10, 10}};
    const auto once = smoothPolyline(corner, 1);
    const std::vector<double2> expected{{0, 0}, {7.5, 0}, {10, 2.5}, {10, 10}};
    EXPECT_EQ(once, expected);
    EXPECT_EQ(smoothPolyline(corner, 0), corner);
    EXPECT_EQ(smoothPolyline(corner, 3).size(), 10u); // 3, 4, 6, 10: n becomes 2n − 2
}

TEST(StrokeGeometry, ANegativeWidthLeavesTheFeatherAlone) {
    const auto mesh =
        tessellate(strokeOf({{0, 0}, {100, 0}}, -4), InkProfile::studioDraw, 0, false);
    EXPECT_FLOAT_EQ(mesh.vertices[0].coreHalfWidth, 0);
    EXPECT_FLOAT_EQ(mesh.vertices[0].featherHalfWidth, 3.5f);
}

TEST(StrokeGeometry, AClosedLoopKeepsItsWidthAndRepeatsNoVertex) {
    std::vector<Stroke::Point> ring;
    for (int i = 0; i < 24; ++i)
        ring.push_back({50 + 5 * std::cos(i * M_PI / 12), 50 + 5 * std::sin(i * M_PI / 12)});
    const auto mesh = tessellate(strokeOf(std::move(ring)), InkProfile::studioDraw, 0, true);
    ASSERT_EQ(mesh.triangleStripVertexCount(), 48);
    for (const Vertex& vertex : mesh.vertices) {
        EXPECT_FLOAT_EQ(vertex.coreHalfWidth, 3.5f);
        EXPECT_FLOAT_EQ(vertex.alpha, 1);
    }
    // Tangents wrap around: the first rib points along the radius like every other.
    EXPECT_NEAR(mesh.vertices[0].position.y, 50, 1e-4);
}

TEST(StrokeGeometry, PointsThatAreNoNumbersAreSkipped) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    const auto mesh = tessellate(strokeOf({{0, 0}, {nan, 3}, {5, infinity}, {100, 0}}, nan),
                                 InkProfile::studioDraw, 0, false);
    ASSERT_EQ(mesh.triangleStripVertexCount(), 4);
    for (const Vertex& vertex : mesh.vertices)
        EXPECT_TRUE(std::isfinite(vertex.position.x) && std::isfinite(vertex.coreHalfWidth));
}

} // namespace lanternfly::StrokeGeometry
