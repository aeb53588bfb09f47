#include "platform/linux/output/FrameEncoder.h"

#include <vector>

#include <gtest/gtest.h>

#include "support/ColourBars.h"

namespace lanternfly::test {
namespace {

constexpr FrameEncoding written[] = {FrameEncoding::yuyv, FrameEncoding::uyvy, FrameEncoding::nv12,
                                     FrameEncoding::i420, FrameEncoding::yv12, FrameEncoding::bgrx};

FrameLayout layoutOf(FrameEncoding encoding, int width, int height, size_t strideBytes = 0) {
    return {.encoding = encoding,
            .width = width,
            .height = height,
            .strideBytes = strideBytes,
            .colour = {}};
}

TEST(FrameEncoderTest, WhatIsWrittenReadsTheSame) {
    for (const FrameEncoding encoding : written)
        for (const bool isPadded : {false, true}) {
            SCOPED_TRACE(testing::Message() << static_cast<int>(encoding) << isPadded);
            const FrameLayout layout =
                layoutOf(encoding, 320, 180,
                         FrameLayout::minimumStrideBytes(encoding, 320) + (isPadded ? 64 : 0));
            auto encoder = FrameEncoder::create(layout);
            auto decoder = FrameDecoder::create(layout);
            ASSERT_TRUE(encoder && decoder);
            EXPECT_EQ(encoder->layout().strideBytes, layout.strideBytes);
            std::vector<uint8_t> bytes(encoder->frameBytes());
            ASSERT_TRUE(encoder->encode(*colourBars(320, 180), bytes));
            auto picture = PixelBuffer::create(320, 180);
            ASSERT_TRUE(decoder->decode(bytes, *picture));
            EXPECT_LE(worstBarError(*picture), 3);
        }
}

TEST(FrameEncoderTest, FramesOfAnotherSizeAreFitted) {
    auto encoder = FrameEncoder::create(layoutOf(FrameEncoding::yuyv, 320, 240));
    std::vector<uint8_t> bytes(encoder->frameBytes());
    ASSERT_TRUE(encoder->encode(*colourBars(1280, 720), bytes));
    EXPECT_EQ(bytes[0], 16) << "black above the picture";
    auto decoder = FrameDecoder::create(encoder->layout());
    auto picture = PixelBuffer::create(320, 240);
    decoder->decode(bytes, *picture);
    EXPECT_LE(worstBarError(*picture), 3);
}

TEST(FrameEncoderTest, RefusesWhatItCannotWrite) {
    EXPECT_FALSE(FrameEncoder::create(layoutOf(FrameEncoding::mjpeg, 320, 180)));
    EXPECT_FALSE(FrameEncoder::create(layoutOf(FrameEncoding::rgb24, 320, 180)));
    EXPECT_FALSE(FrameEncoder::create(layoutOf(FrameEncoding::yuyv, 321, 180)));
    EXPECT_FALSE(FrameEncoder::create(layoutOf(FrameEncoding::yuyv, 0, 0)));
    EXPECT_FALSE(FrameEncoder::create(layoutOf(FrameEncoding::yuyv, -2, 180)));
    EXPECT_FALSE(FrameEncoder::create(layoutOf(FrameEncoding::yuyv, 1 << 30, 2)));
    EXPECT_FALSE(FrameEncoder::create(layoutOf(FrameEncoding::yuyv, 320, 180, SIZE_MAX / 2)));
    FrameLayout other = layoutOf(FrameEncoding::yuyv, 320, 180);
    other.colour.isFullRange = true;
    EXPECT_FALSE(FrameEncoder::create(other));
}

TEST(FrameEncoderTest, RefusesAShortTargetAndOtherFrames) {
    for (const FrameEncoding encoding : written) {
        auto encoder = FrameEncoder::create(layoutOf(encoding, 64, 36));
        std::vector<uint8_t> bytes(encoder->frameBytes() - 1);
        EXPECT_FALSE(encoder->encode(*colourBars(64, 36), bytes));
        bytes.resize(encoder->frameBytes());
        EXPECT_FALSE(encoder->encode(*PixelBuffer::create(64, 36, PixelFormat::nv12), bytes));
        EXPECT_TRUE(encoder->encode(*colourBars(64, 36), bytes));
    }
}

} // namespace
} // namespace lanternfly::test
