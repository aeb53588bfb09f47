// What holds for any sequence of calls.
#include "annotate/DrawController.h"

#include <cmath>
#include <map>
#include <random>

#include <gtest/gtest.h>

namespace lanternfly {
namespace {

class Calls {
public:
    explicit Calls(uint32_t seed) : _random(seed) {}
    size_t pick(size_t count) {
        return std::uniform_int_distribution<size_t>(0, count - 1)(_random);
    }
    double real(double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(_random);
    }
    double2 place() { return {real(0, 1920), real(0, 1080)}; }

private:
    std::mt19937 _random;
};

double lengthOf(const std::vector<Stroke>& strokes) {
    double length = 0;
    for (const Stroke& stroke : strokes)
        length += polylineLengthPX(stroke.points);
    return length;
}

class DrawControllerProperty : public testing::TestWithParam<uint32_t> {
protected:
    std::vector<Stroke> visible() const {
        const auto layer = controller.currentLayer();
        return layer ? std::get<DrawingContent>(layer->content).strokes : std::vector<Stroke>{};
    }

    DrawController controller{{1920, 1080}, "lyr_ink", "#FFFFFFE6", 8};
};

TEST_P(DrawControllerProperty, AnyCallsKeepTheInvariants) {
    Calls calls(GetParam());
    int published = 0;
    std::optional<Layer> last;
    controller.setOnLayerUpdate([&](const std::optional<Layer>& layer) {
        ++published;
        last = layer;
    });
    bool isActive = false;
    bool isDrawing = false;
    std::map<std::string, int> seen; // so that a walk that shows nothing is noticed
    for (int step = 0; step < 3000; ++step) {
        const auto before = visible();
        const int committedBefore = controller.committedStrokeCount();
        published = 0;
        bool isTold = true; // whether this call has something to tell
        const size_t call = calls.pick(20);
        if (call == 0) {
            isTold = !isActive;
            controller.enterDrawMode();
            isActive = true;
        } else if (call == 1) {
            isTold = isActive;
            controller.exitDrawMode();
            EXPECT_EQ(controller.committedStrokeCount(), committedBefore + isDrawing);
            isActive = isDrawing = false;
        } else if (call <= 4) {
            isTold = isActive;
            controller.pointerBegan(calls.place());
            EXPECT_EQ(controller.committedStrokeCount(), committedBefore + isDrawing);
            isDrawing = isActive;
        } else if (call <= 9) {
            isTold = isDrawing;
            controller.pointerMoved(calls.place());
            EXPECT_EQ(visible().size(), before.size());
            EXPECT_TRUE(lengthOf(visible()) >= lengthOf(before));
        } else if (call <= 11) {
            isTold = isDrawing;
            controller.pointerEnded();
            EXPECT_EQ(controller.committedStrokeCount(), committedBefore + isDrawing);
            EXPECT_EQ(visible(), before) << "releasing changes nothing to see";
            isDrawing = false;
        } else if (call == 12 && calls.pick(5) == 0) {
            isTold = !before.empty();
            controller.clearAll();
            EXPECT_TRUE(visible().empty());
            isDrawing = false;
        } else if (call == 13) {
            controller.setAutoUnwriteEnabled(calls.pick(4) != 0);
            controller.setDwellSeconds(calls.real(0, 2));
            isTold = false;
        } else {
            controller.tick(calls.real(0, 0.3));
            EXPECT_LE(controller.committedStrokeCount(), committedBefore);
            EXPECT_LE(lengthOf(visible()), lengthOf(before) * (1 + 1e-12)) << "time adds no ink";
            seen["shortened"] += lengthOf(visible()) < lengthOf(before);
            seen["removed"] += controller.committedStrokeCount() < committedBefore;
            isTold = published == 1;
            EXPECT_TRUE(isTold || visible() == before) << "a change was not told";
        }
        seen["drawing"] += isDrawing;

        EXPECT_EQ(published, isTold ? 1 : 0);
        EXPECT_TRUE(!isTold || last == controller.currentLayer());
        EXPECT_EQ(controller.isModeActive(), isActive);
        EXPECT_EQ(controller.hasLifecycleWork(), controller.committedStrokeCount() > 0);
        EXPECT_EQ(visible().size(),
                  static_cast<size_t>(controller.committedStrokeCount()) + isDrawing);
        for (const Stroke& stroke : visible())
            ASSERT_FALSE(stroke.points.empty());
        if (HasFailure()) FAIL() << "at step " << step;
    }
    EXPECT_GT(seen["shortened"], 50);
    EXPECT_GT(seen["removed"], 20);
    EXPECT_GT(seen["drawing"], 200);

    // Left alone, all ink goes.
    controller.exitDrawMode();
    controller.setAutoUnwriteEnabled(true);
    for (int i = 0; i < 100; ++i)
        controller.tick(0.1);
    EXPECT_FALSE(controller.hasLifecycleWork());
    EXPECT_EQ(controller.currentLayer(), std::nullopt);
    EXPECT_EQ(last, std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Seeds, DrawControllerProperty, testing::Range(1u, 11u));

} // namespace
} // namespace lanternfly
