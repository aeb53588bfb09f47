// Measures a hand detector on a clip whose hands are known.
// Threads: value.
#pragma once

#include <filesystem>
#include <functional>
#include <span>
#include <vector>

#include "platform/HandPoseDetector.h"
#include "support/hands/HandTruth.h"

namespace lanternfly {

struct HandScores {
    int pictures = 0;
    int trueHands = 0;
    int foundHands = 0; // true hands that were found
    int falseHands = 0; // found hands that are none
    int comparedChirality = 0, rightChirality = 0;
    int joints = 0, closeJoints = 0;            // within 0.1 of the true hand's box
    int comparedPinches = 0, agreedPinches = 0; // pinched or open at a ratio of 0.30
    int sureTips = 0; // found hands whose two pinching tips have a confidence of at least 0.4
    int sureAgreedPinches = 0;
    double2 meanErrorPX{0, 0}; // found − true, of all compared joints
    // Processor time of the detecting thread a picture, by the number of hands found.
    std::array<std::vector<double>, 3> millisecondsByHands;

    double recall() const { return ratio(foundHands, trueHands); }
    double precision() const { return ratio(foundHands, foundHands + falseHands); }
    double chirality() const { return ratio(rightChirality, comparedChirality); }
    double closeJointShare() const { return ratio(closeJoints, joints); }
    double pinchAgreement() const { return ratio(agreedPinches, comparedPinches); }

private:
    static double ratio(int part, int whole) { return whole > 0 ? part / double(whole) : 1; }
};

// One picture as the detector saw it, for those who want to look.
struct EvaluatedPicture {
    int number;
    const PixelBuffer& picture;
    std::span<const HandObservation> hands;
    std::span<const TrueHand> truth;
    double2 truthScale; // multiply the truth by it for pixels of `picture`
};

// Runs the detector over the clip at a long side of 480 pixels, as the engine's feed does. A found
// hand is a true one when its joints lie on average within 0.6 of the true hand's box.
HandScores evaluateHands(HandPoseDetector& detector, const std::filesystem::path& video,
                         const HandTruth& truth,
                         const std::function<void(const EvaluatedPicture&)>& look = {});

double median(std::vector<double> values);

} // namespace lanternfly
