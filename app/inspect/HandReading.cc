#include "app/inspect/HandReading.h"

#include <algorithm>

namespace lanternfly {
namespace {

constexpr float smallest = 0.0001f; // below it a ratio means nothing

constexpr std::array<std::pair<HandLandmark, HandLandmark>, 4> fingerJoints{{
    {HandLandmark::indexTip, HandLandmark::indexPIP},
    {HandLandmark::middleTip, HandLandmark::middlePIP},
    {HandLandmark::ringTip, HandLandmark::ringPIP},
    {HandLandmark::pinkyTip, HandLandmark::pinkyPIP},
}};

float confidenceOf(const HandPose::Point* point) {
    return point ? point->confidence : 0;
}

} // namespace

HandReading readingOf(const HandPose& pose) {
    const auto* thumb = measurablePoint(pose, HandLandmark::thumbTip);
    const auto* index = measurablePoint(pose, HandLandmark::indexTip);
    const auto* wrist = measurablePoint(pose, HandLandmark::wrist);
    const auto* knuckle = measurablePoint(pose, HandLandmark::middleMCP);
    HandReading reading{.chirality = pose.chirality,
                        .thumbConfidence = confidenceOf(thumb),
                        .indexConfidence = confidenceOf(index),
                        .palmConfidence = std::min(confidenceOf(wrist), confidenceOf(knuckle))};
    if (thumb && index) reading.at = (position(*thumb) + position(*index)) * 0.5f;
    if (wrist && knuckle) reading.size = glm::distance(position(*wrist), position(*knuckle));
    if (reading.at && reading.size && *reading.size > smallest)
        reading.ratio = glm::distance(position(*thumb), position(*index)) / *reading.size;
    for (size_t i = 0; i < fingerJoints.size(); ++i) {
        const auto* tip = measurablePoint(pose, fingerJoints[i].first);
        const auto* pip = measurablePoint(pose, fingerJoints[i].second);
        if (!tip || !pip || !wrist) continue;
        const float toKnuckle = glm::distance(position(*pip), position(*wrist));
        if (toKnuckle <= smallest) continue;
        reading.fingers[i] = glm::distance(position(*tip), position(*wrist)) / toKnuckle;
        reading.fingerConfidence[i] =
            std::min({tip->confidence, pip->confidence, wrist->confidence});
    }
    return reading;
}

} // namespace lanternfly
