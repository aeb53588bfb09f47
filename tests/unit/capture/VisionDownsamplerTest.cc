#include "capture/VisionDownsampler.h"

#include <cstdlib>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "support/LogCapture.h"

namespace lanternfly {
namespace {

using test::LogCapture;
using Size = VisionDownsampler::Size;

// Left half blue, right half red, and the bottom quarter black.
PixelBufferRef flag(int width, int height) {
    auto picture = PixelBuffer::create(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const bool isBlack = y >= height * 3 / 4, isLeft = x < width / 2;
            const uint8_t pixel[] = {static_cast<uint8_t>(isBlack || !isLeft ? 0 : 255), 0,
                                     static_cast<uint8_t>(isBlack || isLeft ? 0 : 255), 255};
            std::memcpy(picture->row(y) + x * 4, pixel, 4);
        }
    return picture;
}

uint32_t pixelAt(const PixelBuffer& picture, double x, double y) {
    uint32_t pixel;
    std::memcpy(&pixel,
                picture.row(static_cast<int>(y * picture.height())) +
                    4 * static_cast<int>(x * picture.width()),
                4);
    return pixel; // 0xAARRGGBB
}

// Up to the rounding of the scaler.
bool isNear(uint32_t pixel, uint32_t expected) {
    for (int shift = 0; shift < 32; shift += 8)
        if (std::abs(static_cast<int>(pixel >> shift & 0xff) -
                     static_cast<int>(expected >> shift & 0xff)) > 2)
            return false;
    return true;
}

Size sizeOf(const PixelBufferRef& picture) {
    return picture ? Size{picture->width(), picture->height()} : Size{};
}

TEST(VisionDownsamplerTest, TheLongSideBecomes480) {
    EXPECT_EQ(VisionDownsampler::targetSize(1920, 1080), (Size{480, 270}));
    EXPECT_EQ(VisionDownsampler::targetSize(1280, 720), (Size{480, 270}));
    EXPECT_EQ(VisionDownsampler::targetSize(1080, 1920), (Size{270, 480}));
    EXPECT_EQ(VisionDownsampler::targetSize(640, 480), (Size{480, 360}));
    EXPECT_EQ(VisionDownsampler::targetSize(320, 240), (Size{480, 360})) << "scaled up";
    EXPECT_EQ(VisionDownsampler::targetSize(1921, 1081), (Size{480, 270}));
}

TEST(VisionDownsamplerTest, SidesAreEvenAndAtLeastTwo) {
    EXPECT_EQ(VisionDownsampler::evenSide(481), 480);
    EXPECT_EQ(VisionDownsampler::evenSide(480.4), 480);
    EXPECT_EQ(VisionDownsampler::evenSide(270.75), 270) << "to nearest first: 271";
    EXPECT_EQ(VisionDownsampler::evenSide(271.5), 272);
    EXPECT_EQ(VisionDownsampler::evenSide(0.03), 2);
    EXPECT_EQ(VisionDownsampler::targetSize(640, 361), (Size{480, 270}));
    EXPECT_EQ(VisionDownsampler::targetSize(16384, 1), (Size{480, 2}));
    EXPECT_EQ(VisionDownsampler::targetSize(1, 1), (Size{480, 480}));
}

TEST(VisionDownsamplerTest, TheWholePictureIsScaledTheRightWayUp) {
    VisionDownsampler downsampler;
    for (const Size size : {Size{1920, 1080}, Size{1280, 720}, Size{641, 361}, Size{32, 18}}) {
        const auto small = downsampler.scaled(*flag(size.width, size.height));
        ASSERT_EQ(sizeOf(small), VisionDownsampler::targetSize(size.width, size.height));
        EXPECT_EQ(small->format(), PixelFormat::bgra8);
        EXPECT_PRED2(isNear, pixelAt(*small, 0.1, 0.1), 0xff0000ffu);
        EXPECT_PRED2(isNear, pixelAt(*small, 0.9, 0.1), 0xffff0000u);
        EXPECT_PRED2(isNear, pixelAt(*small, 0.1, 0.9), 0xff000000u);
        EXPECT_PRED2(isNear, pixelAt(*small, 0.9, 0.9), 0xff000000u);
    }
}

TEST(VisionDownsamplerTest, FinePatternsAreAveragedAndNotPicked) {
    auto stripes = PixelBuffer::create(1920, 1080);
    for (int y = 0; y < 1080; ++y)
        for (int x = 0; x < 1920; ++x)
            std::memset(stripes->row(y) + x * 4, x % 4 < 2 ? 0 : 200, 4);
    VisionDownsampler downsampler;
    const auto small = downsampler.scaled(*stripes);
    ASSERT_TRUE(small);
    for (const double x : {0.1, 0.3, 0.5, 0.7, 0.9})
        EXPECT_NEAR(pixelAt(*small, x, 0.5) & 0xff, 100, 1);
}

TEST(VisionDownsamplerTest, TinyPicturesAreScaledUp) {
    VisionDownsampler downsampler;
    for (const Size size : {Size{1, 1}, Size{1, 2}, Size{3, 1}, Size{1, 500}}) {
        auto picture = PixelBuffer::create(size.width, size.height);
        for (int y = 0; y < size.height; ++y)
            std::memset(picture->row(y), 77, static_cast<size_t>(size.width) * 4);
        const auto scaled = downsampler.scaled(*picture);
        ASSERT_TRUE(scaled);
        EXPECT_PRED2(isNear, pixelAt(*scaled, 0.5, 0.5), 0x4d4d4d4du);
        EXPECT_PRED2(isNear, pixelAt(*scaled, 0.999, 0.999), 0x4d4d4d4du);
    }
}

TEST(VisionDownsamplerTest, OtherFormatsGiveNoCopy) {
    VisionDownsampler downsampler;
    EXPECT_EQ(downsampler.scaled(*PixelBuffer::create(640, 480, PixelFormat::nv12)), nullptr);
}

TEST(VisionDownsamplerTest, AChangeOfResolutionMakesANewPool) {
    LogCapture log;
    VisionDownsampler downsampler;
    const auto wide = flag(1920, 1080), small = flag(1280, 720), square = flag(480, 480);
    EXPECT_EQ(sizeOf(downsampler.scaled(*wide)), (Size{480, 270}));
    EXPECT_EQ(sizeOf(downsampler.scaled(*wide)), (Size{480, 270}));
    EXPECT_EQ(sizeOf(downsampler.scaled(*square)), (Size{480, 480}));
    EXPECT_EQ(sizeOf(downsampler.scaled(*small)), (Size{480, 270}));
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].message, "VisionDownsampler ready: 1920x1080 -> 480x270");
    EXPECT_EQ(lines[1].message, "VisionDownsampler ready: 480x480 -> 480x480");
    EXPECT_EQ(lines[2].message, "VisionDownsampler ready: 1280x720 -> 480x270");
    EXPECT_EQ(lines[0].level, LogLevel::info);
    EXPECT_EQ(lines[0].category, "HandPoseFeed.Downsampler");
}

TEST(VisionDownsamplerTest, ABufferReturnsToThePoolWhenItIsReleased) {
    VisionDownsampler downsampler;
    const auto picture = flag(64, 64);
    const uint8_t* first = downsampler.scaled(*picture)->data();
    EXPECT_EQ(downsampler.scaled(*picture)->data(), first);
}

TEST(VisionDownsamplerTest, AnExhaustedPoolGivesNoCopyUntilABufferReturns) {
    VisionDownsampler downsampler;
    const auto picture = flag(64, 64);
    std::vector<PixelBufferRef> kept;
    while (const auto buffer = downsampler.scaled(*picture)) {
        kept.push_back(buffer);
        ASSERT_LT(kept.size(), 100u) << "a consumer that keeps buffers must meet an end";
    }
    kept.pop_back();
    EXPECT_NE(downsampler.scaled(*picture), nullptr);
}

} // namespace
} // namespace lanternfly
