// Which hands and faces a picture really shows, or is said to show.
// Threads: value.
#pragma once

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/Vectors.h"
#include "platform/HandPoseDetector.h"

namespace lanternfly {

// Pixels of the picture, y down. A joint that is not known lies at infinity.
using JointPixels = std::array<double2, handJointCount>;

struct LabelledHand {
    JointPixels joints{};
    std::array<float, handJointCount> confidences{};
    std::optional<bool> isRight; // anatomical; absent where the label is unsure
    bool isSure = true;          // an unsure hand is neither missed nor measured
};

struct LabelledFace {
    double2 low{0, 0}, size{0, 0};
    double area() const { return size.x * size.y; }
};

struct LabelledPicture {
    std::vector<LabelledHand> hands;
    std::optional<std::vector<LabelledFace>> faces; // absent where nobody looked for faces
};

struct LabelledPhoto {
    std::string file;   // beside the labels
    std::string source; // whose photo it is
    LabelledPicture picture;
};

// labels.json: {images: {name: {source, hands: [{landmarks: 21 × [x, y, confidence], right,
// agree}], faces: [[x, y, w, h, score]]}}}. `agree` is how far several looks disagree, in parts of
// the hand; above 0.12 the label is unsure. Throws CommandError with the file and the reason.
std::vector<LabelledPhoto> readPhotoLabels(const std::filesystem::path& file);

// Picture by picture: truth of a rendered clip (.jsonl, one object a picture) or labels of a clip
// ({frames: [[hand, …], …]}). Throws CommandError.
std::vector<LabelledPicture> readClipLabels(const std::filesystem::path& file);

// Longer side of the upright box of the joints.
double boxSide(const JointPixels& joints);
// |thumb tip − index tip| / |wrist − middle MCP|.
double pinchRatio(const JointPixels& joints);

} // namespace lanternfly
