#include "platform/linux/vision/HandGeometry.h"

#include <algorithm>
#include <cmath>

namespace lanternfly {
namespace {

constexpr double cropSideOverPalmBox = 1.85;
constexpr double shiftTowardsFingers = 0.1; // in heights of the palm box

constexpr std::array palmSide{
    HandJoint::wrist,    HandJoint::thumbCMC, HandJoint::thumbMP,   HandJoint::thumbIP,
    HandJoint::indexMCP, HandJoint::indexPIP, HandJoint::middleMCP, HandJoint::middlePIP,
    HandJoint::ringMCP,  HandJoint::ringPIP,  HandJoint::littleMCP, HandJoint::littlePIP,
};

struct Box {
    double2 low, high;
    double2 size() const { return high - low; }
    double2 middle() const { return (low + high) / 2.0; }
    void include(double2 p) {
        low = glm::min(low, p);
        high = glm::max(high, p);
    }
};

Box boxOf(const JointPositions& joints) {
    Box box{joints[0], joints[0]};
    for (const double2& p : joints)
        box.include(p);
    return box;
}

} // namespace

HandCrop cropAround(const JointPositions& joints) {
    const auto at = [&](HandJoint joint) { return joints[index(joint)]; };
    // The middle finger counts twice: it is the axis of the hand.
    const double2 knuckles =
        ((at(HandJoint::indexPIP) + at(HandJoint::ringPIP)) / 2.0 + at(HandJoint::middlePIP)) / 2.0;
    const double2 up = knuckles - at(HandJoint::wrist);
    const double angle = std::atan2(up.x, -up.y);
    const double c = std::cos(angle), s = std::sin(angle);
    const double2 pivot = boxOf(joints).middle();

    const auto upright = [&](double2 p) {
        const double2 d = p - pivot;
        return double2{c * d.x + s * d.y, -s * d.x + c * d.y};
    };
    Box palm{upright(at(palmSide[0])), upright(at(palmSide[0]))};
    for (const HandJoint joint : palmSide)
        palm.include(upright(at(joint)));

    double2 middle = palm.middle();
    middle.y -= shiftTowardsFingers * palm.size().y;
    return {
        .centre = pivot + double2{c * middle.x - s * middle.y, s * middle.x + c * middle.y},
        .sidePX = cropSideOverPalmBox * std::max(palm.size().x, palm.size().y),
        .angleRad = angle,
    };
}

double2 centroid(const JointPositions& joints) {
    double2 sum{0, 0};
    for (const double2& p : joints)
        sum += p;
    return sum / static_cast<double>(joints.size());
}

double sizePX(const JointPositions& joints) {
    const double2 size = boxOf(joints).size();
    return std::max(size.x, size.y);
}

bool isFinite(const JointPositions& joints) {
    return std::all_of(joints.begin(), joints.end(),
                       [](double2 p) { return std::isfinite(p.x) && std::isfinite(p.y); });
}

CropTransform::CropTransform(const HandCrop& crop, int sidePX) {
    const double scale = crop.sidePX / sidePX;
    const double c = std::cos(crop.angleRad) * scale, s = std::sin(crop.angleRad) * scale;
    const double half = sidePX / 2.0;
    _rows = {c, -s, crop.centre.x - (c - s) * half, s, c, crop.centre.y - (s + c) * half};
}

double2 CropTransform::toPicture(double2 p) const {
    return {_rows[0] * p.x + _rows[1] * p.y + _rows[2], _rows[3] * p.x + _rows[4] * p.y + _rows[5]};
}

double2 CropTransform::toCrop(double2 p) const {
    // A rotation with a scale: its inverse is the transpose over the squared scale.
    const double squared = _rows[0] * _rows[0] + _rows[3] * _rows[3];
    const double2 d{p.x - _rows[2], p.y - _rows[5]};
    return {(_rows[0] * d.x + _rows[3] * d.y) / squared,
            (_rows[1] * d.x + _rows[4] * d.y) / squared};
}

} // namespace lanternfly
