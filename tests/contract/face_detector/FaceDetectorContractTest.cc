// What every face detector promises, asked of the scripted one and of the real one.
#include <cstring>
#include <functional>
#include <memory>
#include <random>

#include <gtest/gtest.h>

#include "platform/fake/ScriptedFaceDetector.h"
#include "platform/linux/video/VideoFileReader.h"
#include "platform/linux/vision/OpenCvFaceDetector.h"

namespace lanternfly::test {
namespace {

const std::filesystem::path source = LANTERNFLY_SOURCE_DIR;

struct FaceDetectorCase {
    const char* name;
    std::function<std::unique_ptr<FaceDetector>()> make;
};

void PrintTo(const FaceDetectorCase& detector, std::ostream* out) {
    *out << detector.name;
}

std::unique_ptr<FaceDetector> makeScripted() {
    auto script = std::make_shared<FaceScript>();
    script->add({.faces = {{0.1, 0.2, 0.3, 0.4}, {0.5, 0.5, 0.25, 0.5}}});
    script->add({});
    script->add({.faces = {{0, 0, 1, 1}}});
    return std::make_unique<ScriptedFaceDetector>(std::move(script));
}

std::unique_ptr<FaceDetector> makeOpenCv() {
    return std::make_unique<OpenCvFaceDetector>(source / "models");
}

PixelBufferRef noisePicture(int width, int height, PixelFormat format = PixelFormat::bgra8,
                            uint32_t seed = 1) {
    auto picture = PixelBuffer::create(width, height, format);
    std::mt19937 random(seed);
    const size_t rows = format == PixelFormat::bgra8
                            ? static_cast<size_t>(height)
                            : static_cast<size_t>(height) + static_cast<size_t>(height + 1) / 2;
    for (size_t i = 0; i < rows * picture->strideBytes(); ++i)
        picture->data()[i] = static_cast<uint8_t>(random());
    return picture;
}

// A presenter's face, then noise.
std::vector<PixelBufferRef> pictures() {
    std::vector<PixelBufferRef> result{
        VideoFileReader::open(source / "demo/presenter.mp4")->next()->picture};
    for (uint32_t seed = 1; seed <= 3; ++seed)
        result.push_back(noisePicture(480, 270, PixelFormat::bgra8, seed));
    return result;
}

class FaceDetectorContract : public testing::TestWithParam<FaceDetectorCase> {
protected:
    static void expectInside(const std::vector<FaceRect>& faces) {
        EXPECT_LE(faces.size(), static_cast<size_t>(FaceDetector::maximumFaceCount));
        for (const FaceRect& face : faces) {
            EXPECT_GT(face.area(), 0);
            EXPECT_GE(std::min(face.x, face.y), 0);
            EXPECT_LE(std::max(face.x + face.width, face.y + face.height), 1 + 1e-12);
        }
    }

    std::unique_ptr<FaceDetector> detector = GetParam().make();
    std::vector<FaceRect> faces{5, FaceRect{7, 7, 7, 7}};
};

TEST_P(FaceDetectorContract, ReplacesTheListByRectanglesInsideThePicture) {
    for (const auto& picture : pictures()) {
        detector->detect(*picture, faces);
        expectInside(faces);
    }
}

TEST_P(FaceDetectorContract, BearsPicturesOfAnySize) {
    constexpr int sizes[][2] = {{1, 1},     {2, 1},     {1, 270}, {3, 5},      {17, 481},
                                {479, 269}, {480, 270}, {641, 3}, {1280, 720}, {1, 2000}};
    for (const auto& [width, height] : sizes) {
        SCOPED_TRACE(testing::Message() << width << "x" << height);
        detector->detect(*noisePicture(width, height), faces);
        expectInside(faces);
    }
}

TEST_P(FaceDetectorContract, RefusesOtherFormatsAndLeavesNoFacesAndWorksOn) {
    EXPECT_THROW(detector->detect(*noisePicture(480, 270, PixelFormat::nv12), faces),
                 std::runtime_error);
    EXPECT_TRUE(faces.empty());
    detector->detect(*noisePicture(480, 270), faces);
    expectInside(faces);
}

TEST_P(FaceDetectorContract, TheSamePicturesFromAFreshStartGiveTheSameFaces) {
    const auto other = GetParam().make();
    std::vector<FaceRect> others;
    for (const auto& picture : pictures()) {
        detector->detect(*picture, faces);
        other->detect(*picture, others);
        EXPECT_EQ(faces, others);
    }
}

TEST_P(FaceDetectorContract, DoesNotTouchThePicture) {
    const auto picture = noisePicture(480, 270), untouched = noisePicture(480, 270);
    detector->detect(*picture, faces);
    EXPECT_EQ(std::memcmp(picture->data(), untouched->data(), picture->strideBytes() * 270), 0);
}

INSTANTIATE_TEST_SUITE_P(All, FaceDetectorContract,
                         testing::Values(FaceDetectorCase{"Scripted", makeScripted},
                                         FaceDetectorCase{"OpenCv", makeOpenCv}),
                         [](const auto& entry) { return entry.param.name; });

} // namespace
} // namespace lanternfly::test
