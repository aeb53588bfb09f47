#include "platform/linux/camera/FrameDecoder.h"

#include <random>

#include <gtest/gtest.h>

#include "support/CameraFrames.h"
#include "support/Pictures.h"

namespace lanternfly {
namespace {

using test::jpegFrame;
using test::plainFrame;

constexpr FrameEncoding plainEncodings[] = {
    FrameEncoding::yuyv, FrameEncoding::uyvy, FrameEncoding::nv12,  FrameEncoding::i420,
    FrameEncoding::yv12, FrameEncoding::bgrx, FrameEncoding::bgr24, FrameEncoding::rgb24,
};

FrameLayout layoutOf(FrameEncoding encoding, int width, int height, size_t padding = 0,
                     FrameColour colour = {}) {
    return {encoding, width, height, FrameLayout::minimumStrideBytes(encoding, width) + padding,
            colour};
}

void expectPlain(const PixelBuffer& picture, int red, int green, int blue, int tolerance) {
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) {
            const uint8_t* p = picture.row(y) + x * 4;
            ASSERT_NEAR(p[0], blue, tolerance) << x << ", " << y;
            ASSERT_NEAR(p[1], green, tolerance) << x << ", " << y;
            ASSERT_NEAR(p[2], red, tolerance) << x << ", " << y;
            ASSERT_EQ(p[3], 255) << x << ", " << y;
        }
}

TEST(FrameDecoderTest, EveryLayoutBecomesTheSameOpaqueColour) {
    for (const auto encoding : plainEncodings)
        for (const auto& [width, height] : {std::pair{64, 48}, {33, 17}, {1, 1}, {2, 3}})
            for (const size_t padding : {size_t{0}, size_t{64}}) {
                SCOPED_TRACE(testing::Message() << static_cast<int>(encoding) << " " << width << "x"
                                                << height << "+" << padding);
                const auto layout = layoutOf(encoding, width, height, padding);
                auto decoder = FrameDecoder::create(layout);
                ASSERT_TRUE(decoder);
                const auto target = PixelBuffer::create(width, height);
                ASSERT_TRUE(decoder->decode(plainFrame(layout, 180, 90, 40), *target));
                expectPlain(*target, 180, 90, 40, 3);
            }
}

TEST(FrameDecoderTest, MatrixAndRangeAreTheFrames) {
    using Matrix = FrameColour::Matrix;
    for (const auto encoding : {FrameEncoding::yuyv, FrameEncoding::uyvy, FrameEncoding::nv12,
                                FrameEncoding::i420, FrameEncoding::yv12})
        for (const Matrix matrix : {Matrix::bt601, Matrix::bt709, Matrix::bt2020})
            for (const bool isFullRange : {false, true}) {
                SCOPED_TRACE(testing::Message() << static_cast<int>(encoding) << " "
                                                << static_cast<int>(matrix) << " " << isFullRange);
                const auto layout = layoutOf(encoding, 32, 16, 0, {matrix, isFullRange});
                auto decoder = FrameDecoder::create(layout);
                ASSERT_TRUE(decoder);
                const auto target = PixelBuffer::create(32, 16);
                ASSERT_TRUE(decoder->decode(plainFrame(layout, 60, 170, 90), *target));
                expectPlain(*target, 60, 170, 90, 4);
            }
}

TEST(FrameDecoderTest, AFrameMayEndWithItsLastPixel) {
    for (const auto encoding : plainEncodings) {
        const auto layout = layoutOf(encoding, 32, 16, 32);
        auto decoder = FrameDecoder::create(layout);
        auto frame = plainFrame(layout, 1, 2, 3);
        frame.resize(layout.minimumBytes());
        frame.shrink_to_fit();
        const auto target = PixelBuffer::create(32, 16);
        EXPECT_TRUE(decoder->decode(frame, *target));
        frame.pop_back();
        EXPECT_FALSE(decoder->decode(frame, *target)) << "a byte too short";
        EXPECT_FALSE(decoder->decode({}, *target));
    }
}

TEST(FrameDecoderTest, ATargetOfAnotherSizeOrFormatIsRefused) {
    const auto layout = layoutOf(FrameEncoding::yuyv, 32, 16);
    auto decoder = FrameDecoder::create(layout);
    const auto frame = plainFrame(layout, 1, 2, 3);
    EXPECT_FALSE(decoder->decode(frame, *PixelBuffer::create(16, 16)));
    EXPECT_FALSE(decoder->decode(frame, *PixelBuffer::create(32, 16, PixelFormat::nv12)));
}

TEST(FrameDecoderTest, LayoutsThatNoPictureHasAreRefused) {
    EXPECT_FALSE(FrameDecoder::create({FrameEncoding::yuyv, 0, 16, 0, {}}));
    EXPECT_FALSE(FrameDecoder::create({FrameEncoding::yuyv, 16, -1, 0, {}}));
    EXPECT_FALSE(FrameDecoder::create({FrameEncoding::mjpeg, 1 << 20, 16, 0, {}}));
    EXPECT_FALSE(FrameDecoder::create({FrameEncoding::nv12, 16, 16, size_t{1} << 40, {}}));
}

TEST(FrameDecoderTest, AStrideThatIsTooShortIsRaised) {
    const auto decoder = FrameDecoder::create({FrameEncoding::yuyv, 33, 16, 0, {}});
    ASSERT_TRUE(decoder);
    EXPECT_EQ(decoder->layout().strideBytes, 68u);
}

class MjpegTest : public testing::Test {
protected:
    std::optional<FrameDecoder> decoder =
        FrameDecoder::create({FrameEncoding::mjpeg, 320, 180, 0, {}});
    PixelBufferRef picture = test::cameraScene(320, 180, 1, 1);
    PixelBufferRef target = PixelBuffer::create(320, 180);
};

TEST_F(MjpegTest, AFrameBecomesItsPicture) {
    ASSERT_TRUE(decoder->decode(jpegFrame(*picture), *target));
    EXPECT_GT(test::difference(*picture, *target).psnr(), 30);
    for (int y = 0; y < 180; ++y)
        for (int x = 0; x < 320; ++x)
            ASSERT_EQ(target->row(y)[x * 4 + 3], 255);
}

TEST_F(MjpegTest, AFrameWithoutHuffmanTablesTakesTheUsualOnes) {
    const auto bare = jpegFrame(*picture, {.hasHuffmanTables = false});
    ASSERT_LT(bare.size(), jpegFrame(*picture).size());
    ASSERT_TRUE(decoder->decode(bare, *target));
    EXPECT_GT(test::difference(*picture, *target).psnr(), 30);
}

TEST_F(MjpegTest, PaddingAroundTheEndIsNoDamage) {
    auto frame = jpegFrame(*picture);
    frame.insert(frame.end() - 2, 5, 0); // before the end marker
    frame.insert(frame.end(), 1000, 0);
    EXPECT_TRUE(decoder->decode(frame, *target));
}

TEST_F(MjpegTest, ADamagedFrameIsRefusedAndTheNextOneIsFine) {
    const auto whole = jpegFrame(*picture);
    auto shorter = whole;
    shorter.resize(whole.size() / 2);
    EXPECT_FALSE(decoder->decode(shorter, *target)) << "cut off";
    auto overwritten = whole;
    std::fill(overwritten.begin() + static_cast<std::ptrdiff_t>(whole.size() / 2),
              overwritten.begin() + static_cast<std::ptrdiff_t>(whole.size() / 2 + 200),
              uint8_t{0xff});
    EXPECT_FALSE(decoder->decode(overwritten, *target));
    EXPECT_FALSE(decoder->decode(std::vector<uint8_t>(500, 0), *target));
    EXPECT_FALSE(decoder->decode(std::vector<uint8_t>{0xff, 0xd8}, *target));
    EXPECT_TRUE(decoder->decode(whole, *target));
}

TEST_F(MjpegTest, AFrameOfAnotherSizeIsRefused) {
    EXPECT_FALSE(decoder->decode(jpegFrame(*test::cameraScene(640, 360)), *target));
}

TEST_F(MjpegTest, AProgressiveFrameIsRefused) {
    EXPECT_FALSE(decoder->decode(jpegFrame(*picture, {.isProgressive = true}), *target));
}

TEST_F(MjpegTest, FlippedBytesNeverCrash) {
    const auto whole = jpegFrame(*picture, {.quality = 50});
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        auto broken = whole;
        for (int i = 0; i < 1 + round % 5; ++i)
            broken[random() % broken.size()] = static_cast<uint8_t>(random());
        decoder->decode(broken, *target);
    }
    EXPECT_TRUE(decoder->decode(whole, *target));
}

} // namespace
} // namespace lanternfly
