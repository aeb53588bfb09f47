#include "platform/linux/vision/OpenCvFaceDetector.h"

#include <stdexcept>
#include <utility>

namespace lanternfly {

OpenCvFaceDetector::OpenCvFaceDetector(std::filesystem::path modelFolder)
    : _modelFolder(std::move(modelFolder)) {}

void OpenCvFaceDetector::load() {
    if (_loadError) throw HandPoseError(*_loadError);
    if (_network) return;
    try {
        _network = std::make_unique<DetectorNetwork>(HandModel::read(_modelFolder).detector);
    } catch (const HandPoseError& error) {
        _loadError.emplace(error);
        throw;
    }
}

void OpenCvFaceDetector::detect(const PixelBuffer& picture, std::vector<FaceRect>& faces) {
    faces.clear();
    load();
    if (picture.format() != PixelFormat::bgra8)
        throw std::runtime_error("Faces are looked for in BGRA pictures only.");
    _network->look(picture);
    const auto found = _network->faces(leastScore);
    for (const FaceCandidate& face : found.all()) {
        const FaceRect rect = faceRect(face, {picture.width(), picture.height()});
        if (rect.area() > 0) faces.push_back(rect);
    }
}

FaceRect faceRect(const FaceCandidate& face, double2 pictureSizePX) {
    // Candidates and pictures have y down.
    const double2 low = glm::clamp((face.centre - face.size / 2.0) / pictureSizePX, 0.0, 1.0);
    const double2 high = glm::clamp((face.centre + face.size / 2.0) / pictureSizePX, 0.0, 1.0);
    return {.x = low.x, .y = 1 - high.y, .width = high.x - low.x, .height = high.y - low.y};
}

} // namespace lanternfly
