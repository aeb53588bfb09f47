#include "support/hands/HandEvaluation.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <stdexcept>

#include "capture/VisionDownsampler.h"
#include "platform/linux/video/VideoFileReader.h"

namespace lanternfly {
namespace {

using Joints = std::array<double2, handJointCount>;

// Processor time, which other programs of a busy machine do not lengthen by waiting.
double threadMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

double boxSide(const Joints& joints) {
    double2 low = joints[0], high = joints[0];
    for (const double2& p : joints) {
        low = glm::min(low, p);
        high = glm::max(high, p);
    }
    return std::max(high.x - low.x, high.y - low.y);
}

// Joints without an entry lie infinitely far away.
Joints inPixels(const HandObservation& hand, double2 size) {
    Joints joints;
    for (size_t i = 0; i < handJointCount; ++i)
        joints[i] = hand.points[i] ? double2{static_cast<double>(hand.points[i]->x) * size.x,
                                             (1 - static_cast<double>(hand.points[i]->y)) * size.y}
                                   : double2{HUGE_VAL, HUGE_VAL};
    return joints;
}

double meanDistance(const Joints& found, const Joints& real) {
    double sum = 0;
    int count = 0;
    for (size_t i = 0; i < handJointCount; ++i)
        if (std::isfinite(found[i].x)) {
            sum += glm::distance(found[i], real[i]);
            ++count;
        }
    return count ? sum / count : HUGE_VAL;
}

struct Pair {
    double distance;
    size_t found, real;
};

void compare(const HandObservation& hand, const Joints& found, const TrueHand& real,
             HandScores& scores) {
    const double side = boxSide(real.joints);
    for (size_t i = 0; i < handJointCount; ++i) {
        ++scores.joints;
        if (!std::isfinite(found[i].x)) continue;
        if (glm::distance(found[i], real.joints[i]) < 0.1 * side) ++scores.closeJoints;
        scores.meanErrorPX += found[i] - real.joints[i];
    }
    if (real.isRight) {
        ++scores.comparedChirality;
        const auto expected =
            *real.isRight ? HandObservation::Chirality::right : HandObservation::Chirality::left;
        if (hand.chirality == expected) ++scores.rightChirality;
    }
    const bool isAgreed = (pinchRatio(found) < 0.3) == (pinchRatio(real.joints) < 0.3);
    ++scores.comparedPinches;
    if (isAgreed) ++scores.agreedPinches;
    const auto& thumb = hand.points[static_cast<size_t>(HandJoint::thumbTip)];
    const auto& forefinger = hand.points[static_cast<size_t>(HandJoint::indexTip)];
    if (thumb && forefinger && std::min(thumb->confidence, forefinger->confidence) >= 0.4f) {
        ++scores.sureTips;
        if (isAgreed) ++scores.sureAgreedPinches;
    }
}

void score(std::span<const HandObservation> hands, std::span<const TrueHand> truth, double2 size,
           HandScores& scores) {
    std::vector<Joints> found;
    for (const HandObservation& hand : hands)
        found.push_back(inPixels(hand, size));
    std::vector<Pair> pairs;
    for (size_t i = 0; i < found.size(); ++i)
        for (size_t j = 0; j < truth.size(); ++j) {
            const double distance =
                meanDistance(found[i], truth[j].joints) / boxSide(truth[j].joints);
            if (distance <= 0.6) pairs.push_back({distance, i, j});
        }
    std::sort(pairs.begin(), pairs.end(),
              [](const Pair& a, const Pair& b) { return a.distance < b.distance; });
    std::vector<bool> isFoundUsed(found.size()), isRealUsed(truth.size());
    int matched = 0;
    for (const Pair& pair : pairs) {
        if (isFoundUsed[pair.found] || isRealUsed[pair.real]) continue;
        isFoundUsed[pair.found] = isRealUsed[pair.real] = true;
        ++matched;
        compare(hands[pair.found], found[pair.found], truth[pair.real], scores);
    }
    scores.trueHands += static_cast<int>(truth.size());
    scores.foundHands += matched;
    scores.falseHands += static_cast<int>(found.size()) - matched;
}

} // namespace

HandScores evaluateHands(HandPoseDetector& detector, const std::filesystem::path& video,
                         const HandTruth& truth,
                         const std::function<void(const EvaluatedPicture&)>& look) {
    const auto reader = VideoFileReader::open(video);
    VisionDownsampler downsampler;
    const double2 size{reader->info().width, reader->info().height};
    HandScores scores;
    std::vector<HandObservation> hands;
    for (const std::vector<TrueHand>& real : truth) {
        const auto frame = reader->next();
        if (!frame) break;
        const PixelBufferRef reduced = downsampler.scaled(*frame->picture);
        if (!reduced) throw std::runtime_error("a picture cannot be reduced");
        const double before = threadMilliseconds();
        detector.detect(*reduced, hands);
        scores.millisecondsByHands[std::min<size_t>(hands.size(), 2)].push_back(
            threadMilliseconds() - before);
        score(hands, real, size, scores);
        if (look)
            look({.number = scores.pictures,
                  .picture = *reduced,
                  .hands = hands,
                  .truth = real,
                  .truthScale = double2{reduced->width(), reduced->height()} / size});
        ++scores.pictures;
    }
    if (scores.joints > 0) scores.meanErrorPX /= static_cast<double>(scores.joints);
    return scores;
}

double median(std::vector<double> values) {
    if (values.empty()) return 0;
    const auto middle = values.begin() + static_cast<long>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace lanternfly
