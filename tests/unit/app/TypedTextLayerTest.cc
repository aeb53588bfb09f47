#include "app/TypedTextLayer.h"

#include <gtest/gtest.h>

#include "gpu/cpu/CpuDevice.h"
#include "platform/fake/BlockTextPainter.h"

namespace lanternfly {
namespace {

const PixelBuffer& pixelsOf(const AnnotationInput& layer) {
    return static_cast<const CpuTexture&>(*layer.texture).level(0);
}

TEST(TypedTextLayer, StandsInTheLowerLeftOfTheFrame) {
    TypedTextLayer layer(CpuDevice::create(), std::make_unique<BlockTextPainter>(), 640, 360);
    const AnnotationInput shown = layer.paint("Hi");
    ASSERT_TRUE(shown.texture);
    EXPECT_TRUE(shown.originTopLeft);
    EXPECT_EQ(shown.opacity, 1);
    const PixelBuffer& pixels = pixelsOf(shown);
    EXPECT_EQ(pixels.width(), 640);
    EXPECT_EQ(pixels.height(), 360);
    for (int y = 0; y < 360; ++y)
        for (int x = 0; x < 640; ++x)
            if (pixels.row(y)[4 * x + 3] != 0) {
                ASSERT_LT(x, 320);
                ASSERT_GT(y, 180);
            }
    EXPECT_EQ(pixels.row(320)[4 * 35 + 3], 255);
}

TEST(TypedTextLayer, WithoutTextThereIsNoTexture) {
    TypedTextLayer layer(CpuDevice::create(), std::make_unique<BlockTextPainter>(), 640, 360);
    EXPECT_FALSE(layer.paint("").texture);
    EXPECT_TRUE(layer.paint("a").texture);
    EXPECT_FALSE(layer.paint("").texture);
}

TEST(TypedTextLayer, AShownPictureStaysAsItIsWhenTheNextIsPainted) {
    TypedTextLayer layer(CpuDevice::create(), std::make_unique<BlockTextPainter>(), 640, 360);
    const AnnotationInput one = layer.paint("a"), more = layer.paint("abcdefghij");
    EXPECT_EQ(pixelsOf(one).row(320)[4 * 120 + 3], 0);
    EXPECT_EQ(pixelsOf(more).row(320)[4 * 120 + 3], 255);
}

} // namespace
} // namespace lanternfly
