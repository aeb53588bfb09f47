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

constexpr int columns = 40, rows = 24;

// A grid that owns its numbers.
class TestGrid {
public:
    explicit TestGrid(float score = -10) : _values(DetectorGrid::channels * cells, 0.f) {
        std::fill_n(_values.begin(), cells, score);
        std::fill_n(_values.begin() + 6 * cells, cells, score);
    }
    float& at(size_t channel, int x, int y) {
        return _values[channel * cells + static_cast<size_t>(y * columns + x)];
    }
    operator DetectorGrid() const {
        return {.columns = columns, .rows = rows, .stridePX = 8, .values = _values};
    }

private:
    static constexpr size_t cells = columns * rows;
    std::vector<float> _values;
};

TestGrid grid(std::initializer_list<Cell> hands) {
    TestGrid values;
    for (const Cell& cell : hands) {
        values.at(0, cell.x, cell.y) = cell.logit;
        values.at(1, cell.x, cell.y) = cell.dx;
        values.at(2, cell.x, cell.y) = cell.dy;
        values.at(3, cell.x, cell.y) = cell.logSide;
        values.at(4, cell.x, cell.y) = cell.upX;
        values.at(5, cell.x, cell.y) = cell.upY;
    }
    return values;
}

struct FaceCell {
    int x, y;
    float logit;
    float dx = 0, dy = 0, logWidth = 0, logHeight = 0;
};

TestGrid faceGrid(std::initializer_list<FaceCell> faces) {
    TestGrid values;
    for (const FaceCell& cell : faces) {
        values.at(6, cell.x, cell.y) = cell.logit;
        values.at(7, cell.x, cell.y) = cell.dx;
        values.at(8, cell.x, cell.y) = cell.dy;
        values.at(9, cell.x, cell.y) = cell.logWidth;
        values.at(10, cell.x, cell.y) = cell.logHeight;
    }
    return values;
}

constexpr int2 inputSize{320, 192};
const Letterbox wholeInput = Letterbox::fitting(inputSize, inputSize);

} // namespace

TEST(Letterbox, FitsTheWorkingPictureOfAWideCamera) {
    const Letterbox box = Letterbox::fitting({480, 270}, inputSize);
    EXPECT_DOUBLE_EQ(box.scale, 2.0 / 3);
    EXPECT_EQ(box.left, 0);
    EXPECT_EQ(box.top, 6);
    EXPECT_EQ(box.widthPX, 320);
    EXPECT_EQ(box.heightPX, 180);
}

TEST(Letterbox, CentresAnUprightPicture) {
    const Letterbox box = Letterbox::fitting({270, 480}, inputSize);
    EXPECT_DOUBLE_EQ(box.scale, 0.4);
    EXPECT_EQ(box.widthPX, 108);
    EXPECT_EQ(box.heightPX, 192);
    EXPECT_EQ(box.left, 106);
    EXPECT_EQ(box.top, 0);
}

TEST(Letterbox, KeepsAPixelOfTheThinnestPicture) {
    const Letterbox box = Letterbox::fitting({480, 1}, inputSize);
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
    const auto found = decodeHands(grid({{.x = 20, .y = 12, .logit = 3}}),
                                   Letterbox::fitting({480, 270}, inputSize), 0.35);
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
    const auto found = decodeHands(TestGrid(3), wholeInput, 0.35);
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

TEST(GridDecoder, ReadsAFace) {
    const auto found = decodeFaces(faceGrid({{.x = 20,
                                              .y = 12,
                                              .logit = 3,
                                              .dx = 0.5f,
                                              .dy = -0.25f,
                                              .logWidth = 0.5f,
                                              .logHeight = 0.75f}}),
                                   Letterbox::fitting({480, 270}, inputSize), 0.4);
    ASSERT_EQ(found.count, 1u);
    const FaceCandidate& face = found.items[0];
    EXPECT_NEAR(face.score, 1 / (1 + std::exp(-3.0)), 1e-12);
    EXPECT_NEAR(face.centre.x, 21.0 * 8 * 1.5, 1e-9);
    EXPECT_NEAR(face.centre.y, (12.25 * 8 - 6) * 1.5, 1e-9);
    EXPECT_NEAR(face.size.x, 48 * std::exp(0.5) * 1.5, 1e-9);
    EXPECT_NEAR(face.size.y, 48 * std::exp(0.75) * 1.5, 1e-9);
}

TEST(GridDecoder, HandsAreNoFacesAndFacesNoHands) {
    EXPECT_EQ(decodeFaces(grid({{.x = 20, .y = 12, .logit = 3}}), wholeInput, 0.4).count, 0u);
    EXPECT_EQ(decodeHands(faceGrid({{.x = 20, .y = 12, .logit = 3}}), wholeInput, 0.4).count, 0u);
}

TEST(GridDecoder, OfTwoCloseFacesTheBetterStays) {
    // 2 cells are 16 pixels, less than 0.4 of 48.
    const auto found =
        decodeFaces(faceGrid({{.x = 10, .y = 10, .logit = 1}, {.x = 12, .y = 10, .logit = 2}}),
                    wholeInput, 0.4);
    ASSERT_EQ(found.count, 1u);
    EXPECT_DOUBLE_EQ(found.items[0].centre.x, 12.5 * 8);
}

TEST(GridDecoder, ReadsAGridOfAnotherSize) {
    std::vector<float> values(DetectorGrid::channels * 6, -10.f);
    values[5] = 3; // the last cell of 3 × 2
    for (const size_t channel : {1, 2, 3, 4, 5})
        values[channel * 6 + 5] = 0;
    const DetectorGrid small{.columns = 3, .rows = 2, .stridePX = 16, .values = values};
    const auto found = decodeHands(small, Letterbox::fitting({48, 32}, {48, 32}), 0.35);
    ASSERT_EQ(found.count, 1u);
    EXPECT_EQ(found.items[0].crop.centre, double2(2.5 * 16, 1.5 * 16));
}

} // namespace lanternfly
