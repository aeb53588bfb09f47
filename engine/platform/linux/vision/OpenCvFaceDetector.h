// FaceDetector on the network that also finds hands.
// Threads: bound to one queue.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>

#include "platform/FaceDetector.h"
#include "platform/HandPoseDetector.h"
#include "platform/linux/vision/DetectorNetwork.h"
#include "platform/linux/vision/HandModelFolder.h"

namespace lanternfly {

class OpenCvFaceDetector final : public FaceDetector {
public:
    // The score from which on a face counts.
    static constexpr double leastScore = 0.4;

    explicit OpenCvFaceDetector(std::filesystem::path modelFolder = defaultHandModelFolder());

    // The network is loaded by the first call; once loading has failed, every call throws the same
    // error.
    void detect(const PixelBuffer& picture, std::vector<FaceRect>& faces) override;

private:
    void load();

    std::filesystem::path _modelFolder;
    std::optional<HandPoseError> _loadError;
    std::unique_ptr<DetectorNetwork> _network;
};

// The part of a face inside the picture, in 0…1 with the origin at the lower left; empty when no
// part is.
FaceRect faceRect(const FaceCandidate& face, double2 pictureSizePX);

} // namespace lanternfly
