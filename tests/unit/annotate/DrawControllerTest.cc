#include "annotate/DrawController.h"

#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lanternfly {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Points = std::vector<Stroke::Point>;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinite = std::numeric_limits<double>::infinity();

std::vector<Stroke> strokesOf(const std::optional<Layer>& layer) {
    return layer ? std::get<DrawingContent>(layer->content).strokes : std::vector<Stroke>{};
}

class DrawControllerTest : public testing::Test {
protected:
    DrawControllerTest() {
        controller.setOnLayerUpdate(
            [this](const std::optional<Layer>& layer) { told.push_back(layer); });
    }

    // Draws and releases a stroke; enters the mode if need be and stays there.
    void draw(const Points& points) {
        controller.enterDrawMode();
        controller.pointerBegan({points[0][0], points[0][1]});
        for (size_t i = 1; i < points.size(); ++i)
            controller.pointerMoved({points[i][0], points[i][1]});
        controller.pointerEnded();
        told.clear();
    }
    // A horizontal stroke, released, with the mode left.
    void drawAndLeave(double lengthPX) {
        draw({{0, 0}, {lengthPX, 0}});
        controller.exitDrawMode();
        told.clear();
    }
    std::vector<Stroke> visible() const { return strokesOf(controller.currentLayer()); }
    // How many ticks of a millisecond the ink still needs; the dwell must have run out.
    int millisecondsToUnwrite() {
        int ticks = 0;
        for (; controller.hasLifecycleWork() && ticks < 100'000; ++ticks)
            controller.tick(0.001);
        return ticks;
    }

    DrawController controller{{1920, 1080}, "lyr_ink", "#FFFFFFE6", 8};
    std::vector<std::optional<Layer>> told;
};

TEST_F(DrawControllerTest, StartsInactiveWithItsDefaults) {
    EXPECT_FALSE(controller.isModeActive());
    EXPECT_FALSE(controller.hasLifecycleWork());
    EXPECT_EQ(controller.committedStrokeCount(), 0);
    EXPECT_EQ(controller.currentLayer(), std::nullopt);
    EXPECT_EQ(controller.strokeColor(), "#FFFFFFE6");
    EXPECT_EQ(controller.strokeWidthPX(), 8);
    EXPECT_EQ(controller.dwellSeconds(), 4);
    EXPECT_TRUE(controller.autoUnwriteEnabled());
    EXPECT_EQ(controller.unwriteReferenceLengthPX(), 600);
    EXPECT_EQ(controller.unwriteMinSeconds(), 0.3);
    EXPECT_EQ(controller.unwriteMaxSeconds(), 0.4);
}

TEST_F(DrawControllerTest, SettersPublishNothing) {
    drawAndLeave(10);
    controller.setStrokeColor("#E55B5BE6");
    controller.setStrokeWidthPX(3);
    controller.setDwellSeconds(1);
    controller.setAutoUnwriteEnabled(false);
    controller.setUnwriteReferenceLengthPX(100);
    controller.setUnwriteMinSeconds(0.1);
    controller.setUnwriteMaxSeconds(0.2);
    EXPECT_EQ(controller.strokeColor(), "#E55B5BE6");
    EXPECT_EQ(controller.strokeWidthPX(), 3);
    EXPECT_EQ(controller.dwellSeconds(), 1);
    EXPECT_FALSE(controller.autoUnwriteEnabled());
    EXPECT_EQ(controller.unwriteReferenceLengthPX(), 100);
    EXPECT_EQ(controller.unwriteMinSeconds(), 0.1);
    EXPECT_EQ(controller.unwriteMaxSeconds(), 0.2);
    EXPECT_THAT(told, IsEmpty());
}

// --- The mode and the pointer ----------------------------------------------------------------

TEST_F(DrawControllerTest, WhileInactiveThePointerDoesNothing) {
    controller.pointerBegan({1, 2});
    controller.pointerMoved({3, 4});
    controller.pointerEnded();
    controller.exitDrawMode();
    EXPECT_THAT(told, IsEmpty());
    EXPECT_EQ(controller.currentLayer(), std::nullopt);
    EXPECT_FALSE(controller.hasLifecycleWork());
}

TEST_F(DrawControllerTest, EnteringAndLeavingPublishOnceEach) {
    controller.enterDrawMode();
    controller.enterDrawMode();
    EXPECT_TRUE(controller.isModeActive());
    EXPECT_THAT(told, ElementsAre(std::nullopt));
    controller.exitDrawMode();
    controller.exitDrawMode();
    EXPECT_FALSE(controller.isModeActive());
    EXPECT_THAT(told, ElementsAre(std::nullopt, std::nullopt));
}

TEST_F(DrawControllerTest, EveryMoveAddsAPointAndPublishes) {
    controller.enterDrawMode();
    told.clear();
    controller.pointerBegan({1, 2});
    controller.pointerMoved({1, 2});
    controller.pointerMoved({3, 4});
    ASSERT_THAT(told, SizeIs(3));
    EXPECT_THAT(strokesOf(told[0]), ElementsAre(Stroke{"#FFFFFFE6", 8, {{1, 2}}}));
    EXPECT_THAT(strokesOf(told[2]), ElementsAre(Stroke{"#FFFFFFE6", 8, {{1, 2}, {1, 2}, {3, 4}}}));
    EXPECT_EQ(controller.committedStrokeCount(), 0);
    controller.pointerEnded();
    ASSERT_THAT(told, SizeIs(4));
    EXPECT_EQ(told[3], told[2]);
    EXPECT_EQ(controller.committedStrokeCount(), 1);
}

TEST_F(DrawControllerTest, MovesAndEndsWithoutABeginningAreIgnored) {
    controller.enterDrawMode();
    told.clear();
    controller.pointerMoved({3, 4});
    controller.pointerEnded();
    EXPECT_THAT(told, IsEmpty());
    draw({{1, 1}, {2, 2}});
    controller.pointerMoved({3, 4});
    controller.pointerEnded();
    EXPECT_THAT(told, IsEmpty());
    EXPECT_EQ(controller.committedStrokeCount(), 1);
}

TEST_F(DrawControllerTest, ABeginningCommitsTheStrokeBefore) {
    controller.enterDrawMode();
    controller.pointerBegan({1, 1});
    controller.pointerMoved({2, 2});
    told.clear();
    controller.pointerBegan({9, 9});
    EXPECT_EQ(controller.committedStrokeCount(), 1);
    ASSERT_THAT(told, SizeIs(1));
    EXPECT_THAT(strokesOf(told[0]), ElementsAre(Stroke{"#FFFFFFE6", 8, {{1, 1}, {2, 2}}},
                                                Stroke{"#FFFFFFE6", 8, {{9, 9}}}));
}

TEST_F(DrawControllerTest, LeavingTheModeCommitsTheStrokeUnderWay) {
    controller.enterDrawMode();
    controller.pointerBegan({1, 1});
    controller.pointerMoved({2, 2});
    told.clear();
    controller.exitDrawMode();
    ASSERT_THAT(told, SizeIs(1));
    EXPECT_THAT(strokesOf(told[0]), ElementsAre(Stroke{"#FFFFFFE6", 8, {{1, 1}, {2, 2}}}));
    EXPECT_EQ(controller.committedStrokeCount(), 1);
    controller.pointerMoved({3, 3});
    EXPECT_THAT(told, SizeIs(1));
}

TEST_F(DrawControllerTest, ColourAndWidthOfReleasedStrokesStay) {
    draw({{0, 0}, {5, 0}});
    controller.setStrokeColor("#1A1A1AE6");
    controller.setStrokeWidthPX(20);
    controller.pointerBegan({7, 7});
    EXPECT_THAT(visible(), ElementsAre(Stroke{"#FFFFFFE6", 8, {{0, 0}, {5, 0}}},
                                       Stroke{"#1A1A1AE6", 20, {{7, 7}}}));
}

TEST_F(DrawControllerTest, TheLayerIsADrawingInTheMiddleOfTheCanvas) {
    draw({{0, 0}, {5, 0}});
    const auto layer = controller.currentLayer();
    ASSERT_TRUE(layer);
    EXPECT_EQ(layer->id, "lyr_ink");
    EXPECT_EQ(layer->kind, LayerKind::drawing);
    EXPECT_EQ(static_cast<int>(layer->kind), 7);
    EXPECT_EQ(layer->placement.position, (Position{0, 0, 0.5}));
    EXPECT_EQ(layer->placement.anchor, Anchor::center);
    EXPECT_EQ(layer->placement.sizeClass, SizeClass::medium);
    EXPECT_FALSE(layer->isHidden);
    EXPECT_EQ(layer->creatorID, Layer::localCreatorID);
    EXPECT_EQ(layer->creatorID.size(), 16u);
    EXPECT_EQ(std::get<DrawingContent>(layer->content).viewport, (DrawingViewport{1920, 1080}));
}

// --- Dwelling and unwriting ------------------------------------------------------------------

TEST_F(DrawControllerTest, AStrokeDwellsUnwritesAndGoes) {
    drawAndLeave(300);
    controller.tick(3.5);
    EXPECT_THAT(told, IsEmpty()) << "dwelling changes nothing";
    controller.tick(0.5); // 4 s: begins to unwrite over 0.35 s
    ASSERT_THAT(told, SizeIs(1));
    EXPECT_THAT(strokesOf(told[0]), ElementsAre(Stroke{"#FFFFFFE6", 8, {{0, 0}, {300, 0}}}));
    controller.tick(0.07);
    ASSERT_THAT(told, SizeIs(2));
    ASSERT_THAT(strokesOf(told[1]), SizeIs(1));
    EXPECT_NEAR(strokesOf(told[1])[0].points[1][0], 240, 1e-9);
    EXPECT_EQ(strokesOf(told[1])[0].color, "#FFFFFFE6");
    EXPECT_EQ(strokesOf(told[1])[0].width, 8);
    EXPECT_TRUE(controller.hasLifecycleWork());
    controller.tick(0.2801);
    ASSERT_THAT(told, SizeIs(3));
    EXPECT_EQ(told[2], std::nullopt);
    EXPECT_FALSE(controller.hasLifecycleWork());
    controller.tick(1);
    EXPECT_THAT(told, SizeIs(3)) << "gone is gone";
}

TEST_F(DrawControllerTest, TheLengthDecidesHowLongUnwritingTakes) {
    struct Row {
        double lengthPX;
        int milliseconds;
    };
    for (const Row& row : {Row{0, 300}, {300, 350}, {600, 400}, {6000, 400}}) {
        drawAndLeave(row.lengthPX);
        controller.tick(4);
        EXPECT_NEAR(millisecondsToUnwrite(), row.milliseconds, 1) << row.lengthPX;
    }
}

TEST_F(DrawControllerTest, APressWithoutAMoveIsAStrokeLikeAnyOther) {
    draw({{5, 6}});
    controller.exitDrawMode();
    EXPECT_EQ(controller.committedStrokeCount(), 1);
    controller.tick(4);
    controller.tick(0.15);
    EXPECT_THAT(visible(), ElementsAre(Stroke{"#FFFFFFE6", 8, {{5, 6}}}));
    EXPECT_NEAR(millisecondsToUnwrite(), 150, 1);
}

TEST_F(DrawControllerTest, AReferenceLengthOfOneOrLessSendsEveryStrokeToTheLongest) {
    for (const double reference : {1.0, 0.5, 0.0, -7.0}) {
        controller.setUnwriteReferenceLengthPX(reference);
        drawAndLeave(1);
        controller.tick(4);
        EXPECT_NEAR(millisecondsToUnwrite(), 400, 1) << reference;
    }
}

TEST_F(DrawControllerTest, WithoutAutoUnwriteStrokesStay) {
    controller.setAutoUnwriteEnabled(false);
    drawAndLeave(300);
    for (int i = 0; i < 100; ++i)
        controller.tick(10);
    EXPECT_THAT(told, IsEmpty());
    EXPECT_TRUE(controller.hasLifecycleWork());
    EXPECT_THAT(visible(), SizeIs(1));
    controller.setAutoUnwriteEnabled(true);
    controller.tick(3.9);
    EXPECT_THAT(told, IsEmpty()) << "the dwell stood still";
    controller.tick(0.2);
    EXPECT_THAT(told, SizeIs(1));
}

TEST_F(DrawControllerTest, DrawingStopsTheDwellButNotAnUnwriting) {
    drawAndLeave(300);
    controller.tick(2);
    drawAndLeave(100);
    controller.tick(2); // the first begins to unwrite, the second has 2 s left
    controller.enterDrawMode();
    told.clear();
    controller.tick(0.2);
    EXPECT_THAT(told, SizeIs(1));
    controller.tick(0.2);
    EXPECT_EQ(controller.committedStrokeCount(), 1);
    for (int i = 0; i < 10; ++i)
        controller.tick(10);
    EXPECT_THAT(told, SizeIs(2));
    EXPECT_THAT(visible(), ElementsAre(Stroke{"#FFFFFFE6", 8, {{0, 0}, {100, 0}}}));
    controller.exitDrawMode();
    told.clear();
    controller.tick(1.9);
    EXPECT_THAT(told, IsEmpty());
    controller.tick(0.2);
    EXPECT_THAT(told, SizeIs(1)) << "it went on from where it stood";
}

TEST_F(DrawControllerTest, ANewStrokeDoesNotRestartTheDwellOfOlderOnes) {
    drawAndLeave(300);
    controller.tick(3);
    drawAndLeave(300);
    controller.tick(1.5);
    controller.tick(0.4);
    EXPECT_EQ(controller.committedStrokeCount(), 1);
}

TEST_F(DrawControllerTest, TheDwellIsThatOfTheRelease) {
    controller.setDwellSeconds(1);
    drawAndLeave(10);
    controller.setDwellSeconds(100);
    controller.tick(1);
    EXPECT_THAT(told, SizeIs(1));
}

TEST_F(DrawControllerTest, NeighboursThatFinishInOneTickAreBothRemoved) {
    for (int i = 0; i < 3; ++i)
        draw({{0, 0}, {100, 0}});
    draw({{0, 0}, {6000, 0}});
    controller.exitDrawMode();
    controller.tick(4);
    told.clear();
    controller.tick(0.35);
    EXPECT_THAT(told, SizeIs(1));
    EXPECT_EQ(controller.committedStrokeCount(), 1);
    ASSERT_THAT(visible(), SizeIs(1));
    EXPECT_NEAR(visible()[0].points.back()[0], 6000 * 0.125, 1e-6);
}

TEST_F(DrawControllerTest, AnUnwritingOfNoTimeRemovesTheStrokeWithTheNextTick) {
    controller.setUnwriteMinSeconds(0);
    controller.setUnwriteMaxSeconds(0);
    drawAndLeave(100);
    controller.tick(4);
    EXPECT_THAT(visible(), SizeIs(1)) << "whole, for one frame";
    controller.tick(0.01);
    EXPECT_EQ(controller.currentLayer(), std::nullopt);
}

TEST_F(DrawControllerTest, ClearingRemovesAllInkInEitherMode) {
    controller.clearAll();
    EXPECT_THAT(told, IsEmpty());
    drawAndLeave(100);
    controller.clearAll();
    EXPECT_THAT(told, ElementsAre(std::nullopt));
    EXPECT_FALSE(controller.hasLifecycleWork());
    draw({{0, 0}, {5, 0}});
    controller.pointerBegan({1, 1});
    told.clear();
    controller.clearAll();
    controller.clearAll();
    controller.pointerMoved({2, 2});
    EXPECT_THAT(told, ElementsAre(std::nullopt));
    EXPECT_TRUE(controller.isModeActive());
}

// --- The subscriber, and numbers from elsewhere ----------------------------------------------

TEST_F(DrawControllerTest, TheSubscriberMayCallBackAndBeReplaced) {
    controller.setOnLayerUpdate([&](const std::optional<Layer>& layer) {
        told.push_back(layer);
        EXPECT_EQ(controller.currentLayer(), layer);
        controller.setOnLayerUpdate(nullptr);
    });
    controller.enterDrawMode();
    controller.pointerBegan({1, 1});
    EXPECT_THAT(told, SizeIs(1));
    EXPECT_THAT(visible(), SizeIs(1));
}

TEST_F(DrawControllerTest, ATickOfNoKnownTimeIsNone) {
    drawAndLeave(300);
    controller.tick(notANumber);
    controller.tick(4);
    told.clear();
    controller.tick(notANumber);
    EXPECT_THAT(told, IsEmpty());
    EXPECT_NEAR(millisecondsToUnwrite(), 350, 1);
}

TEST_F(DrawControllerTest, NoNumberKeepsInkForever) {
    for (const double odd : {notANumber, infinite, -infinite, 1e300}) {
        controller.setDwellSeconds(odd < 1e299 || odd != odd ? odd : 4);
        controller.setUnwriteMinSeconds(odd < 1e299 || odd != odd ? odd : 0.3);
        draw({{0, 0}, {odd, 5}, {10, odd}});
        controller.exitDrawMode();
        for (int i = 0; i < 3; ++i)
            controller.tick(10);
        EXPECT_FALSE(controller.hasLifecycleWork()) << odd;
    }
    drawAndLeave(10);
    controller.setUnwriteMinSeconds(0.3);
    controller.tick(infinite);
    controller.tick(infinite);
    EXPECT_FALSE(controller.hasLifecycleWork());
}

} // namespace
} // namespace lanternfly
