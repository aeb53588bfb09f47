#include "platform/linux/vision/GridDecoder.h"

#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

namespace lanternfly {
namespace {

struct Cell {
    int x, y;
    float logit;
    float dx = 0, dy = 0, logSide = 0, upX = 0, upY = -1;
};

std::vector<float> grid(std::initializer_list<Cell> cells) {
    std::vector<float> values(HandGrid::valueCount, 0.f);
    std::fill_n(values.begin(), HandGrid::cells, -10.f);
    for (const Cell& cell : cells) {
        const auto at = [&](size_t channel) -> float& {
            return values[channel * HandGrid::cells +
                          static_cast<size_t>(cell.y * HandGrid::columns + cell.x)];
        };
        at(0) = cell.logit;
        at(1) = cell.dx;
        at(2) = cell.dy;
        at(3) = cell.logSide;
        at(4) = cell.upX;
        at(5) = cell.upY;
    }
    return values;
}

const Letterbox wholeInput = Letterbox::fitting(320, 192);

} // namespace

TEST(Letterbox, FitsTheWorkingPictureOfAWideCamera) {
    const Letterbox box = Letterbox::fitting(480, 270);
    EXPECT_DOUBLE_EQ(box.scale, 2.0 / 3);
    EXPECT_EQ(box.left, 0);
    EXPECT_EQ(box.top, 6);
    EXPECT_EQ(box.widthPX, 320);
    EXPECT_EQ(box.heightPX, 180);
}

TEST(Letterbox, CentresAnUprightPicture) {
    const Letterbox box = Letterbox::fitting(270, 480);
    EXPECT_DOUBLE_EQ(box.scale, 0.4);
    EXPECT_EQ(box.widthPX, 108);
    EXPECT_EQ(box.heightPX, 192);
    EXPECT_EQ(box.left, 106);
    EXPECT_EQ(box.top, 0);
}

TEST(Letterbox, KeepsAPixelOfTheThinnestPicture) {
    const Letterbox box = Letterbox::fitting(480, 1);
    EXPECT_EQ(box.widthPX, 320);
    EXPECT_EQ(box.heightPX, 1);
}

TEST(GridDecoder, ReadsACellsNumbers) {
    const auto found = decodeHands(grid({{.x = 10,
                                          .y = 5,
                                          .logit = 2,
                                          .dx = 0.25f,
                                          .dy = -0.5f,
                                          .logSide = 0.5f,
                                          .upX = 1,
                                          .upY = 0}}),
                                   wholeInput, 0.35);
    ASSERT_EQ(found.count, 1u);
    const HandCandidate& hand = found.items[0];
    EXPECT_NEAR(hand.score, 1 / (1 + std::exp(-2.0)), 1e-12);
    EXPECT_DOUBLE_EQ(hand.crop.centre.x, 10.75 * 8);
    EXPECT_DOUBLE_EQ(hand.crop.centre.y, 5.0 * 8);
    EXPECT_NEAR(hand.crop.sidePX, 64 * std::exp(0.5), 1e-9);
    EXPECT_NEAR(hand.crop.angleRad, std::acos(-1.0) / 2, 1e-9); // fingers to the right
}

TEST(GridDecoder, MapsTheInputBackToThePicture) {
    const auto found =
        decodeHands(grid({{.x = 20, .y = 12, .logit = 3}}), Letterbox::fitting(480, 270), 0.35);
    ASSERT_EQ(found.count, 1u);
    EXPECT_NEAR(found.items[0].crop.centre.x, 20.5 * 8 * 1.5, 1e-9);
    EXPECT_NEAR(found.items[0].crop.centre.y, (12.5 * 8 - 6) * 1.5, 1e-9);
    EXPECT_NEAR(found.items[0].crop.sidePX, 64 * 1.5, 1e-9);
}

TEST(GridDecoder, KeepsOnlyPeaksAboveTheThreshold) {
    const auto values = grid({{.x = 4, .y = 4, .logit = 1},
                              {.x = 5, .y = 4, .logit = 0.9f},      // not a peak
                              {.x = 30, .y = 20, .logit = -0.7f}}); // 0.33
    EXPECT_EQ(decodeHands(values, wholeInput, 0.35).count, 1u);
    EXPECT_EQ(decodeHands(values, wholeInput, 0.30).count, 2u);
}

TEST(GridDecoder, OfTwoCloseHandsTheBetterStays) {
    // 2 cells are 16 pixels, less than 0.35 of 64.
    const auto found = decodeHands(
        grid({{.x = 10, .y = 10, .logit = 1}, {.x = 12, .y = 10, .logit = 2}}), wholeInput, 0.35);
    ASSERT_EQ(found.count, 1u);
    EXPECT_DOUBLE_EQ(found.items[0].crop.centre.x, 12.5 * 8);
    EXPECT_EQ(decodeHands(grid({{.x = 10, .y = 10, .logit = 1}, {.x = 13, .y = 10, .logit = 2}}),
                          wholeInput, 0.35)
                  .count,
              2u);
}

TEST(GridDecoder, GivesTheBestFourBestFirst) {
    const auto found = decodeHands(grid({{.x = 2, .y = 2, .logit = 1},
                                         {.x = 12, .y = 2, .logit = 3},
                                         {.x = 22, .y = 2, .logit = 2},
                                         {.x = 32, .y = 2, .logit = 0},
                                         {.x = 2, .y = 20, .logit = 4}}),
                                   wholeInput, 0.35);
    ASSERT_EQ(found.count, 4u);
    for (size_t i = 1; i < found.count; ++i)
        EXPECT_GT(found.items[i - 1].score, found.items[i].score);
    EXPECT_DOUBLE_EQ(found.items[0].crop.centre.y, 20.5 * 8);
    EXPECT_NEAR(found.items[3].score, 1 / (1 + std::exp(-1.0)), 1e-12);
}

TEST(GridDecoder, APictureFullOfEqualCellsGivesSeparateHands) {
    std::vector<float> values(HandGrid::valueCount, 0.f);
    std::fill_n(values.begin(), HandGrid::cells, 3.f);
    const auto found = decodeHands(values, wholeInput, 0.35);
    EXPECT_EQ(found.count, 4u);
    for (size_t i = 0; i < found.count; ++i)
        for (size_t j = 0; j < i; ++j)
            EXPECT_GT(glm::distance(found.items[i].crop.centre, found.items[j].crop.centre),
                      0.35 * 64);
}

TEST(GridDecoder, BoundsTheSideAndIgnoresCellsThatAreNoNumbers) {
    const auto huge =
        decodeHands(grid({{.x = 9, .y = 9, .logit = 1, .logSide = 90}}), wholeInput, 0.35);
    ASSERT_EQ(huge.count, 1u);
    EXPECT_NEAR(huge.items[0].crop.sidePX, 64 * std::exp(2.5), 1e-9);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(decodeHands(grid({{.x = 9, .y = 9, .logit = nan}}), wholeInput, 0.35).count, 0u);
    EXPECT_EQ(decodeHands(grid({{.x = 9, .y = 9, .logit = 1, .dx = nan}}), wholeInput, 0.35).count,
              0u);
}

} // namespace lanternfly
