// How well found hands and faces agree with labels, added up over pictures.
// Threads: value.
#pragma once

#include <cmath>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "app/evaluate/HandLabels.h"

namespace lanternfly {

// Hands narrower than this part of the picture's width are neither missed nor false.
inline constexpr double leastHandPart = 0.08;
// A found hand is a labelled one when its joints lie on average within this part of its box.
inline constexpr double matchingDistance = 0.6;
// Below it a hand is pinched: where the recognizer begins a pinch.
inline constexpr double pinchedRatio = 0.30;

struct HandScores {
    int pictures = 0;
    int labelledHands = 0, matchedHands = 0;
    int falseHands = 0;
    int handFreePictures = 0, falseHandsThere = 0;
    int64_t joints = 0, joints10 = 0, joints20 = 0; // within 0.1 and 0.2 of the hand's box
    int64_t tips = 0;
    double tipErrors = 0; // thumb and index tips, in hand boxes; the sum
    int comparedPinches = 0, agreedPinches = 0, labelledPinches = 0, matchedPinches = 0;
    int comparedSides = 0, rightSides = 0;
    int facePictures = 0, rightFaces = 0; // pictures with a labelled face; the largest one is right
    int faceFreePictures = 0, falseFaces = 0;

    double recall() const { return ratio(matchedHands, labelledHands); }
    double precision() const { return ratio(matchedHands, matchedHands + falseHands); }
    double pck10() const { return ratio(joints10, joints); }
    double pck20() const { return ratio(joints20, joints); }
    double tipError() const { return tips > 0 ? tipErrors / static_cast<double>(tips) : NAN; }
    double pinchAgreement() const { return ratio(agreedPinches, comparedPinches); }
    double chirality() const { return ratio(rightSides, comparedSides); }
    double faceShare() const { return ratio(rightFaces, facePictures); }

    // NaN where there was nothing to count.
    static double ratio(int64_t part, int64_t whole) {
        return whole > 0 ? static_cast<double>(part) / static_cast<double>(whole) : NAN;
    }
    HandScores& operator+=(const HandScores& other);
};

// One found hand and the labelled one that it is.
struct HandMatch {
    size_t found, labelled;
};
std::vector<HandMatch> matchHands(std::span<const LabelledHand> found,
                                  std::span<const LabelledHand> labelled);

struct FoundPicture {
    std::vector<LabelledHand> hands;
    std::optional<std::vector<LabelledFace>> faces; // absent where nobody looked
};

// The scores of one picture of this width.
HandScores score(const FoundPicture& found, const LabelledPicture& labelled, double widthPX);

// How wrong a picture is, for showing the worst: each missed or false hand and each wrong face
// counts 1, a hand's joints the share that lies further off than 0.1, a wrong side or pinch 0.5.
double wrongness(const HandScores& ofOnePicture);

} // namespace lanternfly
