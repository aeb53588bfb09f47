#include "platform/linux/vision/OnnxInput.h"

#include <filesystem>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "TestOnnx.h"
#include "support/Files.h"

namespace lanternfly {
namespace {

const std::filesystem::path models = std::filesystem::path(LANTERNFLY_SOURCE_DIR) / "models";

std::optional<int2> sizeOf(const std::string& bytes) {
    return pictureInputOf(bytes);
}

} // namespace

TEST(OnnxInput, IsKnownOfTheShippedNetworks) {
    EXPECT_TRUE(sizeOf(test::readFile(models / "hand_detector.onnx")).has_value());
    EXPECT_TRUE(sizeOf(test::readFile(models / "hand_landmarks.onnx")).has_value());
}

TEST(OnnxInput, IsTheFirstInputThatIsAPicture) {
    EXPECT_EQ(sizeOf(model(input({1, 3, 192, 320}))), int2(320, 192));
    EXPECT_EQ(sizeOf(model(input({1, 21}) + input({32, 3, 3, 3}) + input({1, 3, 96, 128}) +
                           input({1, 3, 10, 10}))),
              int2(128, 96));
}

TEST(OnnxInput, IsUnknownWithoutAPictureOfFixedSize) {
    EXPECT_EQ(sizeOf(""), std::nullopt);
    EXPECT_EQ(sizeOf(model("")), std::nullopt);
    EXPECT_EQ(sizeOf(model(input({1, 3, 0, 320}))), std::nullopt);
    EXPECT_EQ(sizeOf(model(input({1, 1, 192, 320}))), std::nullopt);
    EXPECT_EQ(sizeOf(model(input({1, 3, 192, 320, 1}))), std::nullopt);
    EXPECT_EQ(sizeOf(model(input({1, 3, uint64_t{1} << 31, 320}))), std::nullopt);
    EXPECT_EQ(sizeOf(model(input({1, 3, ~uint64_t{0}, 320}))), std::nullopt);
}

TEST(OnnxInput, OfAnyTruncationIsReadOrUnknown) {
    const std::string whole = model(input({1, 3, 192, 320}));
    for (size_t size = 0; size < whole.size(); ++size)
        EXPECT_EQ(sizeOf(whole.substr(0, size)), std::nullopt) << size;
}

TEST(OnnxInput, OfDamagedBytesNeverDoesMoreThanGuess) {
    const std::string whole = model(input({1, 3, 192, 320}));
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        std::string bytes = whole;
        for (int i = 0; i < 3; ++i)
            bytes[random() % bytes.size()] = static_cast<char>(random());
        if (const auto size = sizeOf(bytes)) {
            EXPECT_GT(size->x, 0);
            EXPECT_GT(size->y, 0);
        }
    }
}

} // namespace lanternfly
