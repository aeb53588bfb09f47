#include "app/evaluate/HandScores.h"

#include <algorithm>

namespace lanternfly {
namespace {

constexpr double leastFaceOverlap = 0.5; // intersection over union

double meanDistance(const JointPixels& found, const JointPixels& real) {
    double sum = 0;
    int count = 0;
    for (size_t i = 0; i < handJointCount; ++i)
        if (std::isfinite(found[i].x)) {
            sum += glm::distance(found[i], real[i]);
            ++count;
        }
    return count ? sum / count : HUGE_VAL;
}

void compareJoints(const LabelledHand& found, const LabelledHand& real, HandScores& scores) {
    const double side = boxSide(real.joints);
    for (size_t i = 0; i < handJointCount; ++i) {
        const double error = glm::distance(found.joints[i], real.joints[i]) / side;
        ++scores.joints;
        scores.joints10 += error < 0.1;
        scores.joints20 += error < 0.2;
        const auto joint = static_cast<HandJoint>(i);
        if (joint != HandJoint::thumbTip && joint != HandJoint::indexTip) continue;
        ++scores.tips;
        // A tip outside the picture is no better than one hand box away.
        scores.tipErrors += std::min(error, 1.0);
    }
}

void compare(const LabelledHand& found, const LabelledHand& real, HandScores& scores) {
    compareJoints(found, real, scores);
    if (real.isRight && found.isRight) {
        ++scores.comparedSides;
        scores.rightSides += *found.isRight == *real.isRight;
    }
    const bool isPinched = pinchRatio(real.joints) < pinchedRatio;
    const bool isFoundPinched = pinchRatio(found.joints) < pinchedRatio;
    ++scores.comparedPinches;
    scores.agreedPinches += isPinched == isFoundPinched;
    scores.labelledPinches += isPinched;
    scores.matchedPinches += isPinched && isFoundPinched;
}

const LabelledFace* largest(const std::vector<LabelledFace>& faces) {
    const auto found = std::max_element(
        faces.begin(), faces.end(),
        [](const LabelledFace& a, const LabelledFace& b) { return a.area() < b.area(); });
    return found == faces.end() ? nullptr : &*found;
}

double overlap(const LabelledFace& a, const LabelledFace& b) {
    const double2 low = glm::max(a.low, b.low);
    const double2 size = glm::max(glm::min(a.low + a.size, b.low + b.size) - low, double2{0, 0});
    const double common = size.x * size.y;
    return common / (a.area() + b.area() - common);
}

void compareFaces(const FoundPicture& found, const LabelledPicture& labelled, HandScores& scores) {
    if (!found.faces || !labelled.faces) return;
    const LabelledFace* real = largest(*labelled.faces);
    const LabelledFace* seen = largest(*found.faces);
    if (!real) {
        ++scores.faceFreePictures;
        scores.falseFaces += seen != nullptr;
        return;
    }
    ++scores.facePictures;
    scores.rightFaces += seen && overlap(*seen, *real) >= leastFaceOverlap;
}

} // namespace

HandScores& HandScores::operator+=(const HandScores& other) {
    const auto add = [&](auto member) { this->*member += other.*member; };
    add(&HandScores::pictures);
    add(&HandScores::labelledHands);
    add(&HandScores::matchedHands);
    add(&HandScores::falseHands);
    add(&HandScores::handFreePictures);
    add(&HandScores::falseHandsThere);
    add(&HandScores::joints);
    add(&HandScores::joints10);
    add(&HandScores::joints20);
    add(&HandScores::tips);
    add(&HandScores::tipErrors);
    add(&HandScores::comparedPinches);
    add(&HandScores::agreedPinches);
    add(&HandScores::labelledPinches);
    add(&HandScores::matchedPinches);
    add(&HandScores::comparedSides);
    add(&HandScores::rightSides);
    add(&HandScores::facePictures);
    add(&HandScores::rightFaces);
    add(&HandScores::faceFreePictures);
    add(&HandScores::falseFaces);
    return *this;
}

std::vector<HandMatch> matchHands(std::span<const LabelledHand> found,
                                  std::span<const LabelledHand> labelled) {
    struct Pair {
        double distance;
        HandMatch match;
    };
    std::vector<Pair> pairs;
    for (size_t i = 0; i < found.size(); ++i)
        for (size_t j = 0; j < labelled.size(); ++j) {
            const double distance =
                meanDistance(found[i].joints, labelled[j].joints) / boxSide(labelled[j].joints);
            if (distance <= matchingDistance) pairs.push_back({distance, {i, j}});
        }
    std::sort(pairs.begin(), pairs.end(),
              [](const Pair& a, const Pair& b) { return a.distance < b.distance; });
    std::vector<HandMatch> matches;
    for (const auto& [distance, next] : pairs)
        if (std::none_of(matches.begin(), matches.end(), [&, &next = next](const HandMatch& kept) {
                return kept.found == next.found || kept.labelled == next.labelled;
            }))
            matches.push_back(next);
    return matches;
}

HandScores score(const FoundPicture& found, const LabelledPicture& labelled, double widthPX) {
    HandScores scores{.pictures = 1};
    const auto counts = [&](const LabelledHand& hand) {
        return hand.isSure && boxSide(hand.joints) >= leastHandPart * widthPX;
    };
    const auto matches = matchHands(found.hands, labelled.hands);
    scores.falseHands = static_cast<int>(found.hands.size() - matches.size());
    scores.labelledHands =
        static_cast<int>(std::count_if(labelled.hands.begin(), labelled.hands.end(), counts));
    for (const HandMatch& match : matches) {
        const LabelledHand& real = labelled.hands[match.labelled];
        if (!counts(real)) continue;
        ++scores.matchedHands;
        compare(found.hands[match.found], real, scores);
    }
    if (labelled.hands.empty()) {
        scores.handFreePictures = 1;
        scores.falseHandsThere = scores.falseHands;
    }
    compareFaces(found, labelled, scores);
    return scores;
}

double wrongness(const HandScores& one) {
    const int wrongFaces = one.facePictures - one.rightFaces + one.falseFaces;
    const int wrongSigns =
        one.comparedSides - one.rightSides + one.comparedPinches - one.agreedPinches;
    const double joints =
        one.joints ? static_cast<double>(one.joints - one.joints10) / handJointCount : 0;
    return one.labelledHands - one.matchedHands + one.falseHands + wrongFaces + joints +
           0.5 * wrongSigns;
}

} // namespace lanternfly
