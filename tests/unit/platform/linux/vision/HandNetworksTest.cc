#include "platform/linux/vision/HandNetworks.h"

#include <cstring>
#include <fstream>
#include <random>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/vision/HandModelFolder.h"

namespace lanternfly {
namespace {

namespace fs = std::filesystem;

constexpr const char* detectorFile = "hand_detector.onnx";
constexpr const char* landmarksFile = "hand_landmarks.onnx";
const fs::path models = fs::path(LANTERNFLY_SOURCE_DIR) / "models";

std::string bytesOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// A folder with copies of both networks, to be damaged.
class DamagedModels : public testing::Test {
protected:
    void SetUp() override {
        folder = fs::path(testing::TempDir()) /
                 testing::UnitTest::GetInstance()->current_test_info()->name();
        fs::remove_all(folder);
        fs::create_directories(folder);
        fs::copy(models / HandModel::descriptionFile, folder);
        fs::copy(models / detectorFile, folder);
        fs::copy(models / landmarksFile, folder);
    }
    void TearDown() override { fs::remove_all(folder); }

    void write(const char* file, const std::string& bytes) const {
        std::ofstream(folder / file, std::ios::binary | std::ios::trunc) << bytes;
    }
    // The sentence of the error that loading ends in, or nothing.
    std::string refusal() const {
        try {
            HandNetworks networks(HandModel::read(folder));
        } catch (const HandPoseError& error) {
            EXPECT_EQ(error.kind, HandPoseError::Kind::modelUnreadable);
            return error.what();
        }
        return {};
    }
    std::string sentence(const char* file, const char* reason) const {
        return "The hand model \"" + (folder / file).string() + "\" cannot be used: " + reason +
               ".";
    }

    fs::path folder;
};

} // namespace

TEST_F(DamagedModels, AreNotThereYet) {
    EXPECT_EQ(refusal(), "");
}

TEST_F(DamagedModels, AMissingFileIsNamed) {
    fs::remove(folder / landmarksFile);
    EXPECT_EQ(refusal(), sentence("hand_landmarks.onnx", "the file cannot be opened"));
}

TEST_F(DamagedModels, AnEmptyFileIsNamed) {
    write(detectorFile, "");
    EXPECT_EQ(refusal(), sentence("hand_detector.onnx", "the file is empty"));
}

TEST_F(DamagedModels, AFolderIsNoModel) {
    fs::remove(folder / detectorFile);
    fs::create_directory(folder / detectorFile);
    EXPECT_NE(refusal(), "");
}

TEST_F(DamagedModels, AnyTruncationIsRefused) {
    const std::string whole = bytesOf(models / detectorFile);
    for (const size_t size : {size_t{1}, size_t{100}, whole.size() / 3, whole.size() - 1}) {
        write(detectorFile, whole.substr(0, size));
        EXPECT_EQ(refusal(), sentence("hand_detector.onnx",
                                      "it is damaged or no network that this program can run"))
            << size << " bytes";
    }
}

TEST_F(DamagedModels, TheOtherNetworkIsRefused) {
    write(landmarksFile, bytesOf(models / detectorFile));
    EXPECT_NE(refusal().find("hand_landmarks.onnx"), std::string::npos);
    write(landmarksFile, bytesOf(models / landmarksFile));
    write(detectorFile, bytesOf(models / landmarksFile));
    EXPECT_NE(refusal().find("hand_detector.onnx"), std::string::npos);
}

TEST_F(DamagedModels, WeightsThatAreNoNumbersAreRefused) {
    std::string bytes = bytesOf(models / landmarksFile);
    // The last constant of the file is the step between the last layer's weights.
    const std::string name = "_step";
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const size_t tagAndLength = 2;
    std::memcpy(bytes.data() + bytes.rfind(name) + name.size() + tagAndLength, &nan, sizeof nan);
    write(landmarksFile, bytes);
    EXPECT_NE(refusal(), "");
}

TEST_F(DamagedModels, ADescriptionOfAnotherInputIsRefused) {
    std::string text = bytesOf(models / HandModel::descriptionFile);
    const std::string own = "\"width\": 320";
    text.replace(text.find(own), own.size(), "\"width\": 256");
    write(HandModel::descriptionFile, text);
    EXPECT_THAT(refusal(),
                testing::HasSubstr("its input is 320 × 192, but hand_model.json says 256 × 192."));
}

// Whatever happened to the bytes, loading ends in networks or in an error that says which file.
TEST_F(DamagedModels, RandomDamageNeverDoesMoreThanRefuse) {
    const std::string whole = bytesOf(models / detectorFile);
    std::mt19937 random(3);
    const auto below = [&](size_t n) { return static_cast<size_t>(random()) % n; };
    int refused = 0;
    for (int round = 0; round < 60; ++round) {
        std::string bytes = whole;
        if (round % 3 == 0) {
            bytes.erase(below(bytes.size()), 1 + below(4096));
        } else {
            // The description of the graph is at the front, that of the outputs at the end.
            const size_t from = round % 3 == 1 ? 0 : bytes.size() - 4000;
            for (int i = 0; i < 3; ++i)
                bytes[from + below(4000)] = static_cast<char>(random());
        }
        write(detectorFile, bytes);
        const std::string text = refusal();
        if (text.empty()) continue;
        ++refused;
        EXPECT_NE(text.find("hand_detector.onnx"), std::string::npos);
    }
    EXPECT_GT(refused, 30);
}

TEST(HandModelFolder, HoldsAModel) {
    EXPECT_TRUE(fs::exists(HandModel::read(defaultHandModelFolder()).detector.file));
}

} // namespace lanternfly
