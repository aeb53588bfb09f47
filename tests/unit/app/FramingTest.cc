#include <cmath>
#include <cstring>

#include <gtest/gtest.h>

#include "app/Framing.h"

namespace lanternfly {
namespace {

constexpr double wide = 16.0 / 9;

TEST(Framing, APictureOfTheCanvasShapeIsPassedOnUntouched) {
    Framing framing(wide, FramingMode::crop);
    const auto picture = PixelBuffer::create(1280, 720);
    EXPECT_EQ(framing.apply(picture, wide), picture);
    const auto nearly = PixelBuffer::create(1280, 714);
    EXPECT_EQ(framing.apply(nearly, 1280.0 / 714), nearly);
}

TEST(Framing, CropCutsTheMiddleOut) {
    EXPECT_EQ(placeInFrame(640, 480, 4.0 / 3, wide, FramingMode::crop),
              (FramePlacement{0, 60, 640, 360}));
    EXPECT_EQ(placeInFrame(2000, 720, 2000.0 / 720, wide, FramingMode::crop),
              (FramePlacement{360, 0, 1280, 720}));
}

TEST(Framing, BarsKeepTheWholePicture) {
    EXPECT_EQ(placeInFrame(640, 480, 4.0 / 3, wide, FramingMode::bars),
              (FramePlacement{107, 0, 854, 480}));
    EXPECT_EQ(placeInFrame(360, 640, 360.0 / 640, wide, FramingMode::bars),
              (FramePlacement{389, 0, 1138, 640}));
}

TEST(Framing, PixelsThatAreNotSquareCountAsShown) {
    EXPECT_EQ(placeInFrame(720, 576, wide, wide, FramingMode::crop),
              (FramePlacement{0, 0, 720, 576}));
    EXPECT_EQ(placeInFrame(720, 576, 4.0 / 3, wide, FramingMode::crop),
              (FramePlacement{0, 72, 720, 432}));
}

TEST(Framing, AnImpossibleAspectLeavesThePictureAlone) {
    for (const double aspect : {0.0, -1.0, std::nan("")})
        EXPECT_EQ(placeInFrame(640, 480, aspect, wide, FramingMode::bars),
                  (FramePlacement{0, 0, 640, 480}));
}

// A picture whose pixels say where they are.
PixelBufferRef grid(int width, int height) {
    auto picture = PixelBuffer::create(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const uint8_t pixel[4] = {static_cast<uint8_t>(x), static_cast<uint8_t>(y), 7, 255};
            std::memcpy(picture->row(y) + x * 4, pixel, 4);
        }
    return picture;
}

TEST(Framing, CroppedPixelsAreThoseOfTheMiddle) {
    Framing framing(2.0, FramingMode::crop);
    const auto out = framing.apply(grid(100, 100), 1);
    ASSERT_EQ(out->width(), 100);
    ASSERT_EQ(out->height(), 50);
    EXPECT_EQ(out->row(0)[1], 25);
    EXPECT_EQ(out->row(49)[1], 74);
}

TEST(Framing, BarsAreOpaqueBlack) {
    Framing framing(2.0, FramingMode::bars);
    const auto out = framing.apply(grid(100, 100), 1);
    ASSERT_EQ(out->width(), 200);
    const uint8_t black[4] = {0, 0, 0, 255};
    EXPECT_EQ(std::memcmp(out->row(30) + 49 * 4, black, 4), 0);
    EXPECT_EQ(std::memcmp(out->row(30) + 150 * 4, black, 4), 0);
    EXPECT_EQ(out->row(30)[50 * 4], 0);
    EXPECT_EQ(out->row(30)[50 * 4 + 1], 30);
    EXPECT_EQ(out->row(30)[149 * 4], 99);
}

} // namespace
} // namespace lanternfly
