#include "render/cpu/GaussianBlur.h"

#include <cstring>

#include <gtest/gtest.h>

#include "ReferenceRenderer.h"
#include "render/BlurReduction.h"
#include "support/Pictures.h"

namespace lanternfly {
namespace {

PixelBufferRef blurred(const PixelBuffer& source, float sigma) {
    GaussianBlur blur;
    blur.prepare(source, {0, 0, source.width(), source.height()}, sigma, sigma);
    auto result = PixelBuffer::create(source.width(), source.height());
    for (int y = 0; y < source.height(); ++y)
        std::memcpy(result->row(y), blur.row(y), static_cast<size_t>(source.width()) * 4);
    return result;
}

TEST(GaussianBlurTest, IsCloseToAnExactGaussianAtEverySigma) {
    for (const auto& picture : {test::cameraScene(200, 120), test::noisePicture(201, 119)})
        for (const float sigma :
             {0.5f, 1.f, 2.f, 3.7f, 4.99f, 5.f, 7.f, 9.99f, 10.f, 12.f, 20.f, 33.f, 64.f, 80.f}) {
            const auto exact = test::exactGaussian(*picture, sigma);
            const double psnr = test::difference(*blurred(*picture, sigma), *exact).psnr();
            EXPECT_GE(psnr, 46) << sigma;
            RecordProperty("psnr_" + std::to_string(picture->width()) + "_" + std::to_string(sigma),
                           std::to_string(psnr));
        }
}

// An animated blur changes its sigma by a quarter at a time: where another reduction takes over,
// the picture must move no more than an exact Gaussian does.
TEST(GaussianBlurTest, AnAnimatedSigmaDoesNotFlicker) {
    constexpr int rounding = 3; // of two pictures, each by its own intermediate sizes
    const auto picture = test::cameraScene(200, 120);
    for (const float sigma : {0.5f, 1.75f, 4.75f, 5.f, 9.75f, 10.f, 19.75f, 20.f, 39.75f, 79.75f}) {
        const float next = sigma + 0.25f;
        const auto moved = test::difference(*blurred(*picture, sigma), *blurred(*picture, next));
        const auto exact = test::difference(*test::exactGaussian(*picture, sigma),
                                            *test::exactGaussian(*picture, next));
        EXPECT_LE(moved.largest, exact.largest + rounding) << sigma;
    }
}

TEST(GaussianBlurTest, APartOfThePictureIsBlurredAsInTheWhole) {
    const auto picture = test::noisePicture(200, 120);
    for (const float sigma : {2.f, 7.f, 12.f, 40.f}) {
        const auto whole = blurred(*picture, sigma);
        for (const PixelRect rect :
             {PixelRect{0, 0, 16, 9}, PixelRect{37, 41, 122, 77}, PixelRect{190, 100, 200, 120}}) {
            GaussianBlur blur;
            blur.prepare(*picture, rect, sigma, sigma);
            for (int y = rect.y0; y < rect.y1; ++y)
                ASSERT_EQ(0, std::memcmp(blur.row(y), whole->row(y) + rect.x0 * 4,
                                         static_cast<size_t>(rect.width()) * 4))
                    << sigma << " row " << y;
        }
    }
}

TEST(GaussianBlurTest, OneColourStaysThatColour) {
    auto picture = PixelBuffer::create(90, 70);
    for (int y = 0; y < 70; ++y)
        for (int x = 0; x < 90; ++x)
            test::setPixel(*picture, x, y, 255, 1, 77);
    for (const float sigma : {0.5f, 3.f, 6.f, 12.f, 100.f, 256.f})
        EXPECT_EQ(test::difference(*blurred(*picture, sigma), *picture).largest, 0) << sigma;
}

TEST(GaussianBlurTest, LargeSigmasAreReduced) {
    EXPECT_EQ(blurReductionFor(0.5f), 1);
    EXPECT_EQ(blurReductionFor(4.9f), 1);
    EXPECT_EQ(blurReductionFor(5), 2);
    EXPECT_EQ(blurReductionFor(12), 4);
    EXPECT_EQ(blurReductionFor(256), 16);
}

} // namespace
} // namespace lanternfly
