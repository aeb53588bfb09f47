#include "app/ReadyDetector.h"

#include <cstring>

#include "platform/linux/vision/OpenCvHandPoseDetector.h"

namespace lanternfly {

std::unique_ptr<HandPoseDetector> readyDetector(const std::filesystem::path& handModel) {
    auto detector = std::make_unique<OpenCvHandPoseDetector>(handModel);
    const auto blank = PixelBuffer::create(480, 270);
    std::memset(blank->data(), 0, PixelBuffer::sizeBytes(480, 270, PixelFormat::bgra8));
    std::vector<HandObservation> hands;
    detector->detect(*blank, hands);
    return detector;
}

} // namespace lanternfly
