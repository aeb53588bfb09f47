#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "app/evaluate/HandSequence.h"

namespace lanternfly {
namespace {

constexpr double2 size{1280, 720};

// A hand pinched by this ratio.
LabelledHand handAt(double2 wrist, double ratio = 0.8) {
    LabelledHand hand;
    for (size_t i = 0; i < handJointCount; ++i)
        hand.joints[i] =
            wrist + double2{static_cast<double>(i % 5) * 10, -static_cast<double>(i) * 5};
    const double reach = glm::distance(hand.joints[0], hand.joints[9]);
    hand.joints[8] = hand.joints[4] + double2{0, ratio * reach};
    hand.confidences.fill(1);
    hand.isRight = true;
    return hand;
}

LabelledHand trembling(LabelledHand hand, double pixels, std::mt19937& random) {
    std::normal_distribution<double> noise(0, pixels);
    for (double2& joint : hand.joints)
        joint += double2{noise(random), noise(random)};
    return hand;
}

} // namespace

TEST(HandSequence, AStillHandsTremblingIsItsDeviationInHandSizes) {
    std::mt19937 random(1);
    HandSequence sequence;
    for (int i = 0; i < 60; ++i) {
        const LabelledHand hand = handAt({400, 500});
        sequence.add({.hands = {trembling(hand, 1, random)}, .faces = {}},
                     {.hands = {hand}, .faces = {}}, size);
    }
    const StillJitter jitter = sequence.stillJitter();
    EXPECT_EQ(jitter.windows, 11);
    // sqrt(2) px, less the two degrees of freedom of a straight line through ten pictures.
    EXPECT_NEAR(jitter.found, std::sqrt(2 * 0.8) / boxSide(handAt({400, 500}).joints), 0.001);
    EXPECT_EQ(jitter.labelled, 0);
}

TEST(HandSequence, AMovingOrMissingHandIsNotMeasured) {
    HandSequence moving, missing;
    for (int i = 0; i < 40; ++i) {
        const LabelledHand hand = handAt({400 + 2.0 * i, 500});
        moving.add({.hands = {hand}, .faces = {}}, {.hands = {hand}, .faces = {}}, size);
        FoundPicture seen;
        if (i % 9) seen.hands = {handAt({400, 500})};
        missing.add(seen, {.hands = {handAt({400, 500})}, .faces = {}}, size);
    }
    EXPECT_EQ(moving.stillJitter().windows, 0);
    EXPECT_EQ(missing.stillJitter().windows, 0);
}

TEST(HandSequence, CountsPinchesThatBeginTogether) {
    HandSequence sequence;
    const auto ratioAt = [](int picture, int from, int to) {
        return picture >= from && picture < to ? 0.1 : 0.8;
    };
    for (int i = 0; i < 200; ++i) {
        const double labelled = std::min(ratioAt(i, 30, 60), ratioAt(i, 120, 150));
        const double found = std::min(ratioAt(i, 33, 60), ratioAt(i, 170, 190));
        sequence.add({.hands = {handAt({400, 500}, found)}, .faces = {}},
                     {.hands = {handAt({400, 500}, labelled)}, .faces = {}}, size);
    }
    const PinchCounts pinches = sequence.pinches(30);
    EXPECT_EQ(pinches.labelled, 2);
    EXPECT_EQ(pinches.found, 2);
    EXPECT_EQ(pinches.matched, 1);
}

TEST(HandSequence, OfNothingIsNothing) {
    const HandSequence sequence;
    EXPECT_EQ(sequence.stillJitter().windows, 0);
    EXPECT_EQ(sequence.pinches(30).labelled, 0);
}

} // namespace lanternfly
