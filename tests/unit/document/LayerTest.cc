#include "document/Layer.h"

#include <cstring>

#include <gtest/gtest.h>

namespace lanternfly {
namespace {

TEST(Layer, KindsKeepTheirRawNamesAndOrder) {
    const char* names[] = {"caption",        "lower_third", "annotation",
                           "chapter_marker", "tap_target",  "data_snapshot",
                           "window",         "drawing",     "model3d"};
    for (int i = 0; i < layerKindCount; ++i) {
        EXPECT_EQ(rawName(static_cast<LayerKind>(i)), names[i]);
        EXPECT_EQ(layerKind(names[i]), static_cast<LayerKind>(i));
    }
    EXPECT_EQ(static_cast<int>(LayerKind::drawing), 7);
    EXPECT_FALSE(layerKind("Window"));
    EXPECT_FALSE(layerKind(""));
}

TEST(Layer, TheLocalCreatorIsSixteenCharactersLong) {
    EXPECT_EQ(std::strlen(Layer::localCreatorID), 16u);
}

TEST(Layer, TheOnDeckLayerStandsAtTheNeutralPosition) {
    const auto layer =
        Layer::lanternflyOnDeck(WindowContent::Window{"org.gnome.Maps", "Maps"}, "me");
    EXPECT_EQ(layer.id, "lyr_window_on_deck");
    EXPECT_EQ(layer.kind, LayerKind::window);
    EXPECT_EQ(layer.creatorID, "me");
    EXPECT_FALSE(layer.isHidden);
    EXPECT_EQ(layer.placement.position, (Position{.x = 0, .y = 0, .z = 0.5}));
    EXPECT_EQ(layer.placement.anchor, Anchor::center);
    EXPECT_EQ(layer.placement.sizeClass, SizeClass::medium);
    EXPECT_EQ(std::get<WindowContent>(layer.content).source,
              WindowContent::Source(WindowContent::Window{"org.gnome.Maps", "Maps"}));
}

TEST(Layer, TheModelLayerTakesItsPlacementAndRefersToItsAsset) {
    const auto placement = Placement::at({.x = -1, .y = 1, .z = 0});
    const auto layer = Layer::lanternflyModel3D("file:///m/robot.usdz", placement, "me");
    EXPECT_EQ(layer.id, "lyr_model3d_primary");
    EXPECT_EQ(layer.kind, LayerKind::model3d);
    EXPECT_EQ(layer.placement, placement);
    EXPECT_EQ(std::get<Model3DContent>(layer.content).assetURL, "file:///m/robot.usdz");
}

} // namespace
} // namespace lanternfly
