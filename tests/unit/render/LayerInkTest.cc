#include "render/LayerInk.h"

#include <cmath>

#include <gtest/gtest.h>

#include "render/InkTessellator.h"

namespace lanternfly {
namespace {

constexpr DrawingViewport viewport{1920, 1080};

LayerInk inkOf(std::vector<Layer> layers, const LayerInk& before = {}) {
    return {std::make_shared<const std::vector<Layer>>(std::move(layers)), before};
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
    EXPECT_EQ(*after[1], *InkTessellator{}.batch(longer, viewport));
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

TEST(LayerInk, ManyNewStrokesAreWhatEachIsAlone) {
    DrawingContent content{.viewport = viewport};
    for (int i = 0; i < 40; ++i) {
        Stroke stroke{"#FF0000", 3.0 + i, {}};
        for (int point = 0; point < 5 * i; ++point)
            stroke.points.push_back({10.0 + 3 * point, 200 + 80 * std::sin(0.1 * point + i)});
        content.strokes.push_back(std::move(stroke));
    }
    const std::vector<Stroke> strokes = content.strokes;
    const LayerInk ink =
        inkOf({{.id = "lyr", .kind = LayerKind::drawing, .content = std::move(content)}});
    ASSERT_EQ(ink.batches()->size(), strokes.size() - 1) << "the first has no points";
    for (size_t i = 1; i < strokes.size(); ++i)
        EXPECT_EQ(*(*ink.batches())[i - 1], *InkTessellator{}.batch(strokes[i], viewport)) << i;
}

} // namespace
} // namespace lanternfly
