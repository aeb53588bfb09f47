#include "platform/linux/vision/OpenCvFaceDetector.h"

#include <cstring>

#include <gtest/gtest.h>

#include "platform/linux/video/VideoFileReader.h"

namespace lanternfly {
namespace {

const std::filesystem::path source = LANTERNFLY_SOURCE_DIR;

} // namespace

TEST(FaceRect, IsTheFacesPartInThePictureWithYUp) {
    const double2 size{200, 100};
    const FaceRect whole = faceRect({.centre = {50, 25}, .size = {20, 10}}, size);
    EXPECT_DOUBLE_EQ(whole.x, 0.2);
    EXPECT_DOUBLE_EQ(whole.y, 0.7);
    EXPECT_DOUBLE_EQ(whole.width, 0.1);
    EXPECT_DOUBLE_EQ(whole.height, 0.1);
    const FaceRect cut = faceRect({.centre = {195, 95}, .size = {20, 20}}, size);
    EXPECT_DOUBLE_EQ(cut.x, 0.925);
    EXPECT_DOUBLE_EQ(cut.y, 0);
    EXPECT_DOUBLE_EQ(cut.width, 0.075);
    EXPECT_DOUBLE_EQ(cut.height, 0.15);
    EXPECT_EQ(faceRect({.centre = {250, 50}, .size = {20, 20}}, size).area(), 0);
}

// The clip's truth says where the presenter's face is: 571, 190, 146 × 185 of 1280 × 720.
TEST(OpenCvFaceDetector, FindsThePresentersFace) {
    OpenCvFaceDetector detector(source / "models");
    const auto frame = VideoFileReader::open(source / "demo/presenter.mp4")->next();
    std::vector<FaceRect> faces;
    detector.detect(*frame->picture, faces);
    ASSERT_EQ(faces.size(), 1u);
    EXPECT_NEAR(faces[0].x + faces[0].width / 2, (571 + 73) / 1280.0, 0.02);
    EXPECT_NEAR(faces[0].y + faces[0].height / 2, 1 - (190 + 92.5) / 720, 0.05);
    EXPECT_NEAR(faces[0].width, 146 / 1280.0, 0.04);
    EXPECT_NEAR(faces[0].height, 185 / 720.0, 0.08);
}

TEST(OpenCvFaceDetector, SeesNoFaceInBlackness) {
    OpenCvFaceDetector detector(source / "models");
    const auto picture = PixelBuffer::create(480, 270);
    std::memset(picture->data(), 0, picture->strideBytes() * 270);
    std::vector<FaceRect> faces(1);
    detector.detect(*picture, faces);
    EXPECT_TRUE(faces.empty());
}

TEST(OpenCvFaceDetector, SaysEveryTimeThatItsModelIsMissing) {
    OpenCvFaceDetector detector("/nonexistent");
    const auto picture = PixelBuffer::create(4, 4);
    std::vector<FaceRect> faces(1);
    for (int i = 0; i < 2; ++i) {
        try {
            detector.detect(*picture, faces);
            FAIL();
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "The hand model \"/nonexistent\" cannot be used: there is "
                                       "no such folder.");
        }
        EXPECT_TRUE(faces.empty());
    }
}

} // namespace lanternfly
