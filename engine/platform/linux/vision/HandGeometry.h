// Where the joints of a hand lie, and the rotated square that the landmark network looks at.
// Coordinates are pixels of the working picture: y runs down, pixel centres are integers.
// Threads: value.
#pragma once

#include <array>

#include "base/Vectors.h"
#include "platform/HandPoseDetector.h"

namespace lanternfly {

// One position a joint, in the order of HandJoint.
using JointPositions = std::array<double2, handJointCount>;

constexpr size_t index(HandJoint joint) {
    return static_cast<size_t>(joint);
}

// A square of the picture in which the fingers point up.
struct HandCrop {
    double2 centre{0, 0};
    double sidePX = 0;
    double angleRad = 0; // clockwise on screen; 0 when the fingers point up in the picture
    bool operator==(const HandCrop&) const = default;
};

// The crop around a hand: upright along wrist → knuckles' middle joints, sized by the joints of the
// palm side (fingertips move too much to measure a hand by), shifted towards the fingers. The
// landmark network was trained on exactly these crops.
HandCrop cropAround(const JointPositions& joints);

// Mean of all joints.
double2 centroid(const JointPositions& joints);
// Longer side of the upright box of all joints, in pixels.
double sizePX(const JointPositions& joints);
bool isFinite(const JointPositions& joints);

// Maps the pixels of a crop drawn at `sidePX` × `sidePX` to pixels of the picture and back.
class CropTransform {
public:
    CropTransform(const HandCrop& crop, int sidePX);
    double2 toPicture(double2 cropPX) const;
    double2 toCrop(double2 picturePX) const;
    // Row-major 2 × 3, crop pixel → picture pixel.
    const std::array<double, 6>& rows() const { return _rows; }

private:
    std::array<double, 6> _rows;
};

} // namespace lanternfly
