#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/CommandError.h"
#include "app/evaluate/HandData.h"
#include "app/evaluate/HandLabels.h"
#include "support/TemporaryFolder.h"

namespace lanternfly {
namespace {

std::string landmarks(int count = 21) {
    std::string text = "[";
    for (int i = 0; i < count; ++i)
        text += (i ? ", [" : "[") + std::to_string(i) + ", " + std::to_string(2 * i) + ", 0.5]";
    return text + "]";
}

std::string hand(const std::string& more) {
    return "{\"landmarks\": " + landmarks() + ", " + more + "}";
}

std::string photo(const std::string& name, const std::string& hands, const std::string& more = "") {
    return "{\"images\": {\"" + name + "\": {\"source\": \"s\", \"hands\": [" + hands + "]" + more +
           "}}}";
}

class HandLabels : public testing::Test {
protected:
    std::string refusal(const std::string& text) const {
        try {
            readPhotoLabels(folder.write("labels.json", text));
        } catch (const CommandError& error) {
            return error.what();
        }
        return {};
    }
    test::TemporaryFolder folder;
};

} // namespace

TEST_F(HandLabels, OfPhotosAreReadWithHandsAndFaces) {
    const auto photos = readPhotoLabels(
        folder.write("labels.json", photo("a.jpg",
                                          hand("\"right\": 0.9, \"agree\": 0.02") + ", " +
                                              hand("\"right\": 0.5, \"agree\": 0.2"),
                                          ", \"faces\": [[1, 2, 3, 4, 0.9]]")));
    ASSERT_EQ(photos.size(), 1u);
    EXPECT_EQ(photos[0].file, "a.jpg");
    EXPECT_EQ(photos[0].source, "s");
    const LabelledPicture& picture = photos[0].picture;
    ASSERT_EQ(picture.hands.size(), 2u);
    EXPECT_EQ(picture.hands[0].joints[3], double2(3, 6));
    EXPECT_EQ(picture.hands[0].confidences[3], 0.5f);
    EXPECT_EQ(picture.hands[0].isRight, true);
    EXPECT_TRUE(picture.hands[0].isSure);
    EXPECT_EQ(picture.hands[1].isRight, std::nullopt);
    EXPECT_FALSE(picture.hands[1].isSure);
    ASSERT_TRUE(picture.faces);
    EXPECT_EQ(picture.faces->at(0).size, double2(3, 4));
}

TEST_F(HandLabels, WithoutFacesMeanThatNobodyLooked) {
    EXPECT_FALSE(readPhotoLabels(folder.write("labels.json", photo("a.jpg", "")))[0].picture.faces);
}

TEST_F(HandLabels, OfClipsComeAsTruthOrAsFrames) {
    const auto truth = readClipLabels(
        folder.write("c.jsonl", "{\"face\": [1, 2, 3, 4], \"hands\": [" +
                                    hand("\"side\": \"left\"") + "]}\n{\"hands\": []}\n"));
    ASSERT_EQ(truth.size(), 2u);
    EXPECT_EQ(truth[0].hands[0].isRight, false);
    EXPECT_EQ(truth[0].faces->size(), 1u);
    EXPECT_FALSE(truth[1].faces);
    const auto frames = readClipLabels(
        folder.write("c.json", "{\"frames\": [[], [" + hand("\"right\": 1") + "]]}"));
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_EQ(frames[1].hands[0].isRight, true);
}

TEST_F(HandLabels, ThatAreWrongAreRefusedWithTheFileAndTheReason) {
    using testing::HasSubstr;
    EXPECT_THAT(refusal("{"), HasSubstr("labels.json does not hold labels of hands"));
    EXPECT_THAT(refusal("{}"), HasSubstr("images"));
    EXPECT_THAT(refusal(photo("a.jpg", "{\"right\": 1, \"landmarks\": " + landmarks(20) + "}")),
                HasSubstr("a hand does not have 21 landmarks"));
    EXPECT_THAT(refusal(photo("../a.jpg", "")), HasSubstr("is no file's name"));
    EXPECT_THAT(refusal(photo("a.jpg", "", ", \"faces\": [[1e9, 0, 1, 1]]")),
                HasSubstr("out of range"));
    EXPECT_THROW(readPhotoLabels(folder / "none.json"), CommandError);
    EXPECT_THROW(readClipLabels(folder.write("c.jsonl", "{\"hands\": 3}\n")), CommandError);
}

TEST_F(HandLabels, AreFoundBesideTheirPhotosAndClips) {
    std::filesystem::create_directories(folder / "photos");
    for (const char* file :
         {"photos/labels.json", "a.mp4", "a.json", "b.mkv", "b_truth.jsonl", "c.mp4", "d.jsonl"})
        folder.write(file, "");
    const HandData data = HandData::in(folder.path());
    ASSERT_EQ(data.photoLabels.size(), 1u);
    ASSERT_EQ(data.clips.size(), 2u);
    EXPECT_EQ(data.clips[0].labels, folder / "a.json");
    EXPECT_EQ(data.clips[1].labels, folder / "b_truth.jsonl");
}

TEST_F(HandLabels, ThatAreNowhereAreMissed) {
    EXPECT_THROW(HandData::in(folder.path()), CommandError);
    EXPECT_THROW(HandData::in(folder / "none"), CommandError);
}

} // namespace lanternfly
