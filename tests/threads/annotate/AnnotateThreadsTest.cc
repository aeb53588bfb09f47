// The pointer on the hand tracking thread, ticks on the render thread, settings and read-outs on
// the main thread. ThreadSanitizer judges the accesses; the assertions judge that every layer is
// whole.
#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "annotate/DrawController.h"
#include "annotate/TypeController.h"

namespace lanternfly {

namespace {

// Strokes of this test have colour and width that belong together.
void expectWhole(const std::optional<Layer>& layer) {
    if (!layer) return;
    EXPECT_EQ(layer->id, "lyr_ink");
    const auto& content = std::get<DrawingContent>(layer->content);
    EXPECT_FALSE(content.strokes.empty());
    for (const Stroke& stroke : content.strokes) {
        EXPECT_FALSE(stroke.points.empty());
        for (const Stroke::Point& point : stroke.points)
            EXPECT_EQ(point.size(), 2u);
    }
}

} // namespace

TEST(AnnotateThreads, PointerTicksAndSettingsMeetInTheDrawController) {
    DrawController controller({1920, 1080}, "lyr_ink", "#FFFFFFE6", 8);
    controller.setDwellSeconds(0.01);
    std::atomic<int> published = 0;
    const auto count = [&](const std::optional<Layer>& layer) {
        expectWhole(layer);
        ++published;
    };
    controller.setOnLayerUpdate(count);
    std::atomic<bool> isDone = false;
    std::thread pointing([&] {
        for (int round = 0; round < 300; ++round) {
            controller.enterDrawMode();
            for (int stroke = 0; stroke < 3; ++stroke) {
                controller.pointerBegan({0, 0});
                for (int move = 1; move < 10; ++move)
                    controller.pointerMoved({10.0 * move, 5.0 * move});
                controller.pointerEnded();
            }
            controller.exitDrawMode();
        }
        isDone = true;
    });
    std::thread setting([&] {
        while (!isDone) {
            controller.setStrokeColor("#1A1A1AE6");
            controller.setStrokeWidthPX(4);
            controller.setDwellSeconds(0.01);
            controller.setUnwriteMaxSeconds(0.4);
            controller.setOnLayerUpdate(count);
            expectWhole(controller.currentLayer());
            EXPECT_EQ(controller.strokeColor().size(), 9u);
            EXPECT_GE(controller.committedStrokeCount(), 0);
        }
    });
    while (!isDone)
        controller.tick(0.01);
    pointing.join();
    setting.join();
    EXPECT_GT(published, 300 * 32) << "every call of the pointer is told";
    while (controller.hasLifecycleWork())
        controller.tick(0.1);
    EXPECT_EQ(controller.currentLayer(), std::nullopt);
}

TEST(AnnotateThreads, TypingClearingAndReadingMeetInTheTypeController) {
    TypeController controller("lyr_typing");
    controller.enterTypeMode();
    std::atomic<int> published = 0;
    controller.setOnTextUpdate([&](const std::string&) { ++published; });
    std::atomic<bool> isDone = false;
    std::thread typing([&] {
        for (int i = 0; i < 2000; ++i) {
            controller.appendCharacter("\U0001F600");
            controller.appendCharacter("a");
            controller.deleteBackward();
        }
        isDone = true;
    });
    std::thread clearing([&] {
        while (!isDone)
            controller.clearAll();
    });
    while (!isDone) {
        const std::string text = controller.text();
        EXPECT_TRUE(text.size() % 4 <= 1) << "an emoji was cut";
    }
    typing.join();
    clearing.join();
    EXPECT_GE(published, 4000);
}

} // namespace lanternfly
