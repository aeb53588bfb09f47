#include <gtest/gtest.h>

#include "app/HandSpace.h"

namespace lanternfly {
namespace {

struct Row {
    float2 camera;
    bool isMirrored;
    double2 viewport;
    float2 dot;
};

TEST(HandSpace, APointOfTheCameraLiesWhereTheOutputShowsIt) {
    const DrawingViewport viewport{1920, 1080};
    const Row rows[]{
        {{0, 0}, false, {0, 1080}, {1, -1}},
        {{1, 1}, false, {1920, 0}, {-1, 1}},
        {{0.25f, 0.75f}, false, {480, 270}, {0.5f, 0.5f}},
        {{0.5f, 0.5f}, false, {960, 540}, {0, 0}},
        {{0, 0}, true, {1920, 1080}, {-1, -1}},
        {{1, 1}, true, {0, 0}, {1, 1}},
        {{0.25f, 0.75f}, true, {1440, 270}, {-0.5f, 0.5f}},
    };
    for (const auto& [camera, isMirrored, pixel, dot] : rows) {
        EXPECT_EQ(viewportPoint(camera, viewport, isMirrored), pixel);
        EXPECT_EQ(dotPosition(camera, isMirrored), dot);
    }
}

} // namespace
} // namespace lanternfly
