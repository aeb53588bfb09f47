#include "platform/linux/vision/HandModel.h"

#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Files.h"
#include "support/TemporaryFolder.h"

namespace lanternfly {
namespace {

namespace fs = std::filesystem;

const fs::path models = fs::path(LANTERNFLY_SOURCE_DIR) / "models";

// A description with one place in it replaced.
std::string described(const std::string& place = {}, const std::string& by = {}) {
    std::string text = R"({"format": "lanternfly-hand-model", "version": 1, "name": "test",
        "detector": {"file": "d.onnx", "input": {"width": 256, "height": 160, "colors": "bgr",
                     "mean": [1, 2, 3], "deviation": [4, 5, 6.5]}},
        "landmarks": {"file": "l.onnx"}})";
    if (!place.empty()) text.replace(text.find(place), place.size(), by);
    return text;
}

std::string refusal(const std::string& text) {
    try {
        HandModel::parse(text, "folder");
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return {};
}

} // namespace

TEST(HandModel, ReadsADescription) {
    const HandModel model = HandModel::parse(described(), "folder");
    EXPECT_EQ(model.name, "test");
    EXPECT_EQ(model.detector.file, fs::path("folder/d.onnx"));
    EXPECT_EQ(model.detector.inputSizePX, int2(256, 160));
    EXPECT_FALSE(model.detector.isRGB);
    EXPECT_EQ(model.detector.mean, (std::array<float, 3>{1, 2, 3}));
    EXPECT_EQ(model.detector.deviation, (std::array<float, 3>{4, 5, 6.5f}));
    EXPECT_EQ(model.landmarks.inputSizePX, std::nullopt);
    EXPECT_TRUE(model.landmarks.isRGB);
    EXPECT_EQ(model.landmarks.mean, (std::array<float, 3>{127.5f, 127.5f, 127.5f}));
    EXPECT_EQ(model.joints, usualJointOrder());
}

TEST(HandModel, ReadsTheOrderOfJoints) {
    const HandModel model = HandModel::parse(
        described(R"("l.onnx")", R"("l.onnx", "joints": ["thumbTip", "wrist", "thumbCMC",
        "thumbMP", "thumbIP", "indexMCP", "indexPIP", "indexDIP", "indexTip", "middleMCP",
        "middlePIP", "middleDIP", "middleTip", "ringMCP", "ringPIP", "ringDIP", "ringTip",
        "littleMCP", "littlePIP", "littleDIP", "littleTip"])"),
        "folder");
    EXPECT_EQ(model.joints[0], HandJoint::thumbTip);
    EXPECT_EQ(model.joints[1], HandJoint::wrist);
    EXPECT_EQ(model.joints[20], HandJoint::littleTip);
}

struct Refused {
    const char *place, *by, *reason;
};

class HandModelRefuses : public testing::TestWithParam<Refused> {};

TEST_P(HandModelRefuses, WithTheReason) {
    EXPECT_EQ(refusal(described(GetParam().place, GetParam().by)), GetParam().reason);
}

INSTANTIATE_TEST_SUITE_P(
    Bad, HandModelRefuses,
    testing::Values(
        Refused{"{\"format\"", "\"format\"", "it is no JSON"},
        Refused{"lanternfly-hand-model", "other", "\"format\" is not \"lanternfly-hand-model\""},
        Refused{"\"version\": 1", "\"version\": 2",
                "its version is 2, this program reads version 1"},
        Refused{"\"version\": 1, ", "", "the description has no \"version\""},
        Refused{"\"name\": \"test\"", "\"name\": 7", "\"name\" of the description is no text"},
        Refused{"\"landmarks\"", "\"hands\"", "the description has no \"landmarks\""},
        Refused{"{\"file\": \"l.onnx\"}", "[]", "\"landmarks\" is no object"},
        Refused{"d.onnx", "../d.onnx",
                "\"file\" of \"detector\" is \"../d.onnx\", expected the name of a file beside the "
                "description"},
        Refused{"d.onnx", "..",
                "\"file\" of \"detector\" is \"..\", expected the name of a file beside the "
                "description"},
        Refused{"256", "2000000000",
                "\"width\" of \"input\" of \"detector\" is 2000000000, expected 16 to 1024"},
        Refused{"256", "-1", "\"width\" of \"input\" of \"detector\" is -1, expected 16 to 1024"},
        Refused{"256", "25.6", "\"width\" of \"input\" of \"detector\" is no whole number"},
        Refused{", \"height\": 160", "", "\"input\" of \"detector\" has no \"height\""},
        Refused{"\"bgr\"", "\"grey\"",
                "\"colors\" of \"input\" of \"detector\" is \"grey\", expected \"rgb\" or \"bgr\""},
        Refused{"[1, 2, 3]", "[1, 2]",
                "\"mean\" of \"input\" of \"detector\" is no list of three numbers"},
        Refused{"[1, 2, 3]", "[1, 2, 1e30]",
                "\"mean\" of \"input\" of \"detector\" is out of range"},
        Refused{"[4, 5, 6.5]", "[4, 0, 6.5]",
                "\"deviation\" of \"input\" of \"detector\" is not above 0"},
        Refused{"\"l.onnx\"", "\"l.onnx\", \"joints\": [1]",
                "\"joints\" of \"landmarks\" is no list of 21 names"}));

TEST(HandModel, RefusesAJointThatComesTwice) {
    std::string joints = "\"l.onnx\", \"joints\": [";
    for (int i = 0; i < 21; ++i)
        joints += i ? ", \"wrist\"" : "\"wrist\"";
    EXPECT_THAT(refusal(described("\"l.onnx\"", joints + "]")),
                testing::StartsWith("\"joints\" of \"landmarks\" has \"wrist\" where a joint's "
                                    "name that comes once is expected; the names are wrist, "));
}

TEST(HandModel, OfTheShippedNetworksIsDescribed) {
    const HandModel model = HandModel::read(models);
    EXPECT_TRUE(fs::exists(models / HandModel::descriptionFile));
    EXPECT_TRUE(fs::exists(model.detector.file));
    EXPECT_TRUE(fs::exists(model.landmarks.file));
}

TEST(HandModel, AFolderWithTheUsualFilesNeedsNoDescription) {
    const test::TemporaryFolder folder;
    for (const char* file : {"hand_detector.onnx", "hand_landmarks.onnx"})
        std::ofstream(folder.path() / file) << "x";
    EXPECT_EQ(HandModel::read(folder.path()).landmarks.file, folder.path() / "hand_landmarks.onnx");
}

TEST(HandModel, SaysWhatAFolderLacks) {
    const test::TemporaryFolder folder;
    const auto text = [&] {
        try {
            HandModel::read(folder.path());
        } catch (const HandPoseError& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    EXPECT_EQ(text(), "The hand model \"" + folder.path().string() +
                          "\" cannot be used: it holds neither hand_model.json nor "
                          "hand_detector.onnx.");
    std::ofstream(folder.path() / HandModel::descriptionFile) << "{";
    EXPECT_EQ(text(), "The hand model \"" + (folder.path() / "hand_model.json").string() +
                          "\" cannot be used: it is no JSON.");
    std::ofstream(folder.path() / HandModel::descriptionFile) << std::string(70 << 10, ' ');
    EXPECT_NE(text(), "");
}

} // namespace lanternfly
