#include "platform/linux/vision/OnnxInput.h"

#include <filesystem>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "support/Files.h"

namespace lanternfly {
namespace {

const std::filesystem::path models = std::filesystem::path(LANTERNFLY_SOURCE_DIR) / "models";

// A message field that holds bytes; all are shorter than 128.
std::string field(int number, const std::string& bytes) {
    return std::string{static_cast<char>(number << 3 | 2), static_cast<char>(bytes.size())} + bytes;
}

std::string varint(uint64_t value) {
    std::string bytes;
    for (; value >= 128; value >>= 7)
        bytes += static_cast<char>(value | 128);
    return bytes + static_cast<char>(value);
}

// An input of the graph with these sizes.
std::string input(std::initializer_list<uint64_t> sizes) {
    std::string dimensions;
    for (const uint64_t size : sizes)
        dimensions += field(1, '\x08' + varint(size));
    return field(11,
                 field(1, "input") + field(2, field(1, '\x08' + varint(1) + field(2, dimensions))));
}

std::string model(const std::string& graph) {
    return '\x08' + varint(7) + field(2, "producer") + field(7, graph);
}

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
