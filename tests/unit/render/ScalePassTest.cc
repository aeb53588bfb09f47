#include "render/cpu/ScalePass.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include <gtest/gtest.h>

#include "support/Pictures.h"

namespace lanternfly {
namespace {

struct Shape {
    int width, height, toWidth, toHeight;
};

class ScalePassTest : public testing::TestWithParam<Shape> {
protected:
    const Shape shape = GetParam();
    const PixelBufferRef picture = test::noisePicture(shape.width, shape.height);

    PixelBufferRef scaled(bool mirror, int bandRows) const {
        auto output = PixelBuffer::create(shape.toWidth, shape.toHeight);
        for (int y = 0; y < shape.toHeight; y += bandRows)
            drawScaled(TextureView(*picture), mirror, {y, std::min(y + bandRows, shape.toHeight)},
                       *output);
        return output;
    }
    // Of texel centres, in the numbers of the picture.
    double exact(double x, double y, int channel) const {
        x = std::clamp(x, 0.0, picture->width() - 1.0);
        y = std::clamp(y, 0.0, picture->height() - 1.0);
        const int x0 = static_cast<int>(x), x1 = std::min(x0 + 1, picture->width() - 1);
        const int y0 = static_cast<int>(y), y1 = std::min(y0 + 1, picture->height() - 1);
        const auto at = [&](int column, int row) {
            return static_cast<double>(picture->row(row)[column * 4 + channel]);
        };
        return std::lerp(std::lerp(at(x0, y0), at(x1, y0), x - x0),
                         std::lerp(at(x0, y1), at(x1, y1), x - x0), y - y0);
    }
};

TEST_P(ScalePassTest, IsBilinearToALevel) {
    for (const bool mirror : {false, true}) {
        const auto output = scaled(mirror, shape.toHeight);
        for (int y = 0; y < shape.toHeight; ++y)
            for (int x = 0; x < shape.toWidth; ++x) {
                const double u = (x + 0.5) / shape.toWidth;
                const double fromX = (mirror ? 1 - u : u) * shape.width - 0.5;
                const double fromY = (y + 0.5) / shape.toHeight * shape.height - 0.5;
                for (int channel = 0; channel < 4; ++channel)
                    ASSERT_NEAR(output->row(y)[x * 4 + channel], exact(fromX, fromY, channel), 1.1)
                        << x << ", " << y << (mirror ? " mirrored" : "");
            }
    }
}

TEST_P(ScalePassTest, BandsMakeTheSamePicture) {
    const auto whole = scaled(false, shape.toHeight);
    const auto banded = scaled(false, 7);
    for (int y = 0; y < shape.toHeight; ++y)
        ASSERT_EQ(
            0, std::memcmp(whole->row(y), banded->row(y), static_cast<size_t>(shape.toWidth) * 4))
            << y;
}

TEST_P(ScalePassTest, OpaqueWhiteStaysSo) {
    std::memset(picture->data(), 255, picture->strideBytes() * static_cast<size_t>(shape.height));
    const auto output = scaled(false, shape.toHeight);
    for (int y = 0; y < shape.toHeight; ++y)
        for (int i = 0; i < shape.toWidth * 4; ++i)
            ASSERT_EQ(output->row(y)[i], 255) << i << ", " << y;
}

INSTANTIATE_TEST_SUITE_P(Shapes, ScalePassTest,
                         testing::Values(Shape{128, 72, 192, 108}, Shape{97, 31, 521, 60},
                                         Shape{300, 200, 64, 48}, Shape{1, 1, 33, 17},
                                         Shape{1, 40, 20, 90}, Shape{40, 2, 1, 5}));

} // namespace
} // namespace lanternfly
