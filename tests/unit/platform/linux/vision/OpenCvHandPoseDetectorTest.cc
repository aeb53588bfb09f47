#include "platform/linux/vision/OpenCvHandPoseDetector.h"

#include <cmath>
#include <cstring>
#include <random>

#include <gtest/gtest.h>

namespace lanternfly {
namespace {

const std::filesystem::path models = std::filesystem::path(LANTERNFLY_SOURCE_DIR) / "models";

PixelBufferRef noise(int width, int height, unsigned seed) {
    const auto picture = PixelBuffer::create(width, height);
    std::mt19937 random(seed);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width * 4; ++x)
            picture->row(y)[x] = static_cast<uint8_t>(random());
    return picture;
}

} // namespace

TEST(OpenCvHandPoseDetector, TakesPicturesOfAnySize) {
    OpenCvHandPoseDetector detector(models);
    std::vector<HandObservation> hands(5);
    const std::pair<int, int> sizes[]{{480, 270}, {1, 1},   {2, 900},   {1920, 1080},
                                      {9, 16},    {480, 1}, {480, 480}, {4000, 3}};
    for (const auto& [width, height] : sizes) {
        const auto picture = noise(width, height, 5);
        for (int i = 0; i < 2; ++i) {
            detector.detect(*picture, hands);
            EXPECT_LE(hands.size(), 2u) << width << " × " << height;
        }
    }
}

TEST(OpenCvHandPoseDetector, SeesNoHandInBlackness) {
    OpenCvHandPoseDetector detector(models);
    const auto picture = PixelBuffer::create(480, 270);
    std::memset(picture->data(), 0, picture->strideBytes() * 270);
    std::vector<HandObservation> hands;
    for (int i = 0; i < 5; ++i) {
        detector.detect(*picture, hands);
        EXPECT_TRUE(hands.empty());
    }
}

TEST(OpenCvHandPoseDetector, RefusesAPictureThatIsNotBgra) {
    OpenCvHandPoseDetector detector(models);
    const auto picture = PixelBuffer::create(480, 270, PixelFormat::nv12);
    std::vector<HandObservation> hands(1);
    try {
        detector.detect(*picture, hands);
        FAIL();
    } catch (const HandPoseError& error) {
        EXPECT_EQ(error.kind, HandPoseError::Kind::detectionFailed);
        EXPECT_STREQ(error.what(), "Hands are looked for in BGRA pictures only.");
    }
    EXPECT_TRUE(hands.empty());
}

TEST(OpenCvHandPoseDetector, SaysEveryTimeThatItsModelsAreMissing) {
    OpenCvHandPoseDetector detector("/nonexistent");
    const auto picture = noise(480, 270, 1);
    std::vector<HandObservation> hands(1);
    for (int i = 0; i < 2; ++i) {
        try {
            detector.detect(*picture, hands);
            FAIL();
        } catch (const HandPoseError& error) {
            EXPECT_EQ(error.kind, HandPoseError::Kind::modelUnreadable);
            EXPECT_STREQ(error.what(), "The hand model \"/nonexistent\" cannot be used: there is "
                                       "no such folder.");
        }
        EXPECT_TRUE(hands.empty());
    }
}

} // namespace lanternfly
