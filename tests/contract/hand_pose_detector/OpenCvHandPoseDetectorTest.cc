#include "platform/linux/vision/OpenCvHandPoseDetector.h"

#include "contract/hand_pose_detector/HandPoseDetectorContract.h"
#include "platform/linux/video/VideoFileReader.h"

namespace lanternfly::test {
namespace {

const std::filesystem::path source = LANTERNFLY_SOURCE_DIR;

std::unique_ptr<HandPoseDetector> makeOpenCv() {
    return std::make_unique<OpenCvHandPoseDetector>(source / "models");
}

// Where the demo clip's presenter has a hand up.
std::vector<PixelBufferRef> raisedHand() {
    const auto reader = VideoFileReader::open(source / "demo/presenter.mp4");
    std::vector<PixelBufferRef> pictures;
    for (int i = 0; i < 104; ++i) {
        const auto frame = reader->next();
        if (i >= 96) pictures.push_back(frame->picture);
    }
    return pictures;
}

INSTANTIATE_TEST_SUITE_P(OpenCv, HandPoseDetectorContract,
                         testing::Values(HandPoseDetectorCase{"OpenCv", makeOpenCv, raisedHand}),
                         nameOfCase);

} // namespace
} // namespace lanternfly::test
