#include "platform/linux/vision/OnnxGraph.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "TestOnnx.h"
#include "support/Files.h"

namespace lanternfly {
namespace {

constexpr uint64_t float32 = 1, int8 = 3, float16 = 10;

bool isCoherent(const std::string& graph) {
    return isCoherentNetwork(model(graph));
}

std::string halved(const std::string& constant) {
    return input({1, 3, 8, 8}) + constant + node("Mul", {"input", "half"}, "output");
}

} // namespace

TEST(OnnxGraph, TheShippedNetworksHangTogether) {
    const auto models = std::filesystem::path(LANTERNFLY_SOURCE_DIR) / "models";
    for (const char* name : {"hand_detector.onnx", "hand_landmarks.onnx"})
        EXPECT_TRUE(isCoherentNetwork(test::readFile(models / name))) << name;
}

TEST(OnnxGraph, AConstantHoldsAsManyNumbersAsItsShapeSays) {
    const std::string eight(8, '\0');
    EXPECT_TRUE(isCoherent(halved(constant("half", {2}, float32, eight))));
    EXPECT_TRUE(isCoherent(halved(constant("half", {2, 4}, int8, eight))));
    EXPECT_FALSE(isCoherent(halved(constant("half", {3}, float32, eight))));
    EXPECT_FALSE(isCoherent(halved(constant("half", {1}, float32, eight))));
    EXPECT_FALSE(isCoherent(halved(constant("half", {4}, float16, eight)))) << "is not read";
    constexpr uint64_t huge = uint64_t{1} << 40;
    EXPECT_FALSE(isCoherent(halved(constant("half", {huge, huge, 2}, int8, eight))));
}

TEST(OnnxGraph, NumbersMayStandInTheirOwnField) {
    const auto floats = [](const std::string& numbers) {
        return field(5, '\x08' + varint(2) + '\x10' + varint(float32) + field(8, "half") +
                            field(4, numbers));
    };
    EXPECT_TRUE(isCoherent(halved(floats(std::string(8, '\0')))));
    EXPECT_FALSE(isCoherent(halved(floats(std::string(4, '\0')))));
}

TEST(OnnxGraph, ANodeTakesWhatStandsBeforeIt) {
    const std::string given = input({1, 3, 8, 8});
    EXPECT_TRUE(isCoherent(given + node("Relu", {"input"}, "a") + node("Add", {"a", "a"}, "b")));
    EXPECT_FALSE(isCoherent(given + node("Add", {"a", "a"}, "b") + node("Relu", {"input"}, "a")));
    EXPECT_FALSE(isCoherent(given + node("Relu", {"imput"}, "a")));
    EXPECT_FALSE(isCoherent(given + node("Relu", {}, "a")));
    EXPECT_FALSE(isCoherent(given + node("Relu", {""}, "a")));
    EXPECT_TRUE(isCoherent(given + node("Resize", {"input", "", "input"}, "a")))
        << "one that may be left out";
    EXPECT_TRUE(isCoherent(node("Constant", {}, "a") + node("Relu", {"a"}, "b")));
}

} // namespace lanternfly
