#include "platform/linux/output/FrameFitter.h"

#include <algorithm>
#include <cstring>

#include <gtest/gtest.h>

#include "support/AllocationCount.h"
#include "support/ColourBars.h"

namespace lanternfly::test {
namespace {

TEST(FrameFitterTest, APictureLiesWholeAndInTheMiddle) {
    EXPECT_EQ(fittedRect(1920, 1080, 1280, 720), (FittedRect{0, 0, 1280, 720}));
    EXPECT_EQ(fittedRect(1920, 1080, 640, 480), (FittedRect{0, 60, 640, 360}));
    EXPECT_EQ(fittedRect(640, 480, 1920, 1080), (FittedRect{240, 0, 1440, 1080}));
    EXPECT_EQ(fittedRect(1, 1, 1920, 1080), (FittedRect{420, 0, 1080, 1080}));
    EXPECT_EQ(fittedRect(16384, 1, 640, 360), (FittedRect{0, 178, 640, 2}));
    EXPECT_EQ(fittedRect(1, 16384, 2, 2), (FittedRect{0, 0, 2, 2}));
}

TEST(FrameFitterTest, AFrameOfTheSizeIsHandedOn) {
    FrameFitter fitter(64, 36);
    const auto frame = colourBars(64, 36);
    EXPECT_EQ(fitter.fit(*frame), frame.get());
}

TEST(FrameFitterTest, OtherFramesKeepTheirShapeOnBlack) {
    FrameFitter fitter(640, 480);
    for (const auto& [width, height] : {std::pair{1280, 720}, {320, 180}, {640, 360}}) {
        SCOPED_TRACE(width);
        const PixelBuffer* const picture = fitter.fit(*colourBars(width, height));
        ASSERT_TRUE(picture);
        EXPECT_EQ(picture->width(), 640);
        EXPECT_EQ(picture->height(), 480);
        EXPECT_LE(worstBarError(*picture), 2);
        for (const int y : {0, 59, 420, 479})
            for (const int x : {0, 40, 639}) {
                const uint8_t black[] = {0, 0, 0, 255};
                EXPECT_EQ(std::memcmp(picture->row(y) + 4 * x, black, 4), 0) << x << "," << y;
            }
    }
}

TEST(FrameFitterTest, WhatAnEarlierFrameFilledIsBlackAgain) {
    FrameFitter fitter(640, 480);
    fitter.fit(*colourBars(320, 240));
    const PixelBuffer* const picture = fitter.fit(*colourBars(320, 180));
    EXPECT_EQ(picture->row(0)[0], 0);
    EXPECT_LE(worstBarError(*picture), 2);
}

TEST(FrameFitterTest, AllocatesNothingWhileTheSizeStays) {
    FrameFitter fitter(640, 360);
    const auto frame = colourBars(1280, 720);
    fitter.fit(*frame);
    const size_t before = allocationCount;
    for (int i = 0; i < 5; ++i)
        fitter.fit(*frame);
    EXPECT_EQ(allocationCount, before);
}

} // namespace
} // namespace lanternfly::test
