#include "platform/linux/vision/HandTrack.h"

#include <algorithm>
#include <cmath>

namespace lanternfly {
namespace {

constexpr double velocitySmoothing = 0.5;
constexpr double predictedPart = 0.6;

// A joint's last confidence at which the prior begins to count, and the span to its full weight.
constexpr double priorConfidence = 0.35;
constexpr double priorConfidenceSpan = 0.3;

constexpr double voteMemory = 0.98;
constexpr double voteLimit = 20;
constexpr double leastProbability = 0.02;

constexpr std::array palm{HandJoint::wrist, HandJoint::indexMCP, HandJoint::middleMCP,
                          HandJoint::ringMCP, HandJoint::littleMCP};

double2 palmMiddle(const JointPositions& joints) {
    double2 sum{0, 0};
    for (const HandJoint joint : palm)
        sum += joints[index(joint)];
    return sum / static_cast<double>(palm.size());
}

} // namespace

HandTrack::HandTrack(uint64_t id, const HandReading& first, bool isOnFace)
    : _id(id), _reading(first), _isOnFace(isOnFace), _age(1) {
    vote(first);
}

void HandTrack::update(const HandReading& reading) {
    const double2 motion = palmMiddle(reading.joints) - palmMiddle(_reading.joints);
    // The first motion is known only by half.
    const double2 kept = _age > 1 ? _velocityPX * (1 - velocitySmoothing) : double2{0, 0};
    _velocityPX = kept + motion * velocitySmoothing;
    _reading = reading;
    vote(reading);
    ++_age;
}

void HandTrack::vote(const HandReading& reading) {
    const double p = std::clamp(reading.rightProbability, leastProbability, 1 - leastProbability);
    const double strength = reading.presence * reading.meanConfidence();
    _chiralityVote = std::clamp(voteMemory * _chiralityVote + std::log(p / (1 - p)) * strength,
                                -voteLimit, voteLimit);
}

JointPositions HandTrack::predicted() const {
    JointPositions joints = _reading.joints;
    for (double2& p : joints)
        p += predictedPart * _velocityPX;
    return joints;
}

JointPrior HandTrack::prior() const {
    JointPrior prior{.joints = predicted(), .weights = {}};
    for (size_t i = 0; i < handJointCount; ++i)
        prior.weights[i] = std::clamp(
            (static_cast<double>(_reading.confidences[i]) - priorConfidence) / priorConfidenceSpan,
            0.0, 1.0);
    return prior;
}

bool isSameHand(const HandTrack& a, const HandTrack& b) {
    const JointPositions& p = a.reading().joints;
    const JointPositions& q = b.reading().joints;
    const double size = std::min(sizePX(p), sizePX(q)) + 1e-6;
    if (glm::distance(centroid(p), centroid(q)) < 0.35 * size) return true;
    double sum = 0;
    for (size_t i = 0; i < handJointCount; ++i)
        sum += glm::distance(p[i], q[i]);
    return sum / static_cast<double>(handJointCount) < 0.4 * size;
}

bool isOn(const HandTrack& track, const HandCandidate& candidate) {
    const JointPositions& joints = track.reading().joints;
    return glm::distance(candidate.crop.centre, centroid(joints)) < 0.6 * sizePX(joints);
}

bool isPalmOn(const FaceCandidate& face, const JointPositions& joints) {
    const double2 distance = glm::abs(palmMiddle(joints) - face.centre);
    return distance.x <= face.size.x / 2 && distance.y <= face.size.y / 2;
}

} // namespace lanternfly
