#include <gtest/gtest.h>

#include "app/evaluate/HandScores.h"

namespace lanternfly {
namespace {

// An open hand, 100 × 160 pixels, with thumb and index tip this far apart.
LabelledHand handAt(double2 wrist, double tipDistancePX = 60, std::optional<bool> isRight = true) {
    LabelledHand hand;
    for (size_t i = 0; i < handJointCount; ++i) {
        const double finger = static_cast<double>(i / 5), along = static_cast<double>(i % 5);
        hand.joints[i] = wrist + double2{finger * 25, -along * 40};
    }
    hand.joints[0] = wrist;
    hand.joints[9] = wrist + double2{0, -100}; // middle MCP
    hand.joints[4] = wrist + double2{0, -60};
    hand.joints[8] = hand.joints[4] + double2{tipDistancePX, 0};
    hand.confidences.fill(1);
    hand.isRight = isRight;
    return hand;
}

LabelledHand moved(LabelledHand hand, double2 by) {
    for (double2& joint : hand.joints)
        joint += by;
    return hand;
}

constexpr double width = 1000;

} // namespace

TEST(HandScores, AHandThatIsWhereItShouldBeIsRightInEveryWay) {
    const LabelledHand hand = handAt({300, 500});
    const HandScores one =
        score({.hands = {hand}, .faces = {}}, {.hands = {hand}, .faces = {}}, width);
    EXPECT_EQ(one.labelledHands, 1);
    EXPECT_EQ(one.recall(), 1);
    EXPECT_EQ(one.precision(), 1);
    EXPECT_EQ(one.pck10(), 1);
    EXPECT_EQ(one.tipError(), 0);
    EXPECT_EQ(one.pinchAgreement(), 1);
    EXPECT_EQ(one.chirality(), 1);
    EXPECT_EQ(wrongness(one), 0);
}

TEST(HandScores, JointsAreMeasuredInBoxesOfTheHand) {
    const LabelledHand hand = handAt({300, 500}); // its box is 160 high
    const auto at = [&](double pixels) {
        return score({.hands = {moved(hand, {pixels, 0})}, .faces = {}},
                     {.hands = {hand}, .faces = {}}, width);
    };
    EXPECT_EQ(at(15.9).pck10(), 1);
    EXPECT_EQ(at(16.1).pck10(), 0);
    EXPECT_EQ(at(31.9).pck20(), 1);
    EXPECT_EQ(at(32.1).pck20(), 0);
    EXPECT_NEAR(at(16).tipError(), 0.1, 1e-9);
    EXPECT_EQ(at(95).matchedHands, 1) << "0.6 of 160 is 96";
    EXPECT_EQ(at(97).matchedHands, 0);
    EXPECT_EQ(at(97).falseHands, 1);
}

TEST(HandScores, EachHandIsMatchedOnceToTheNearest) {
    const LabelledHand left = handAt({300, 500}), right = handAt({360, 500});
    const auto matches = matchHands(std::array{moved(right, {3, 0}), moved(left, {2, 0}), left},
                                    std::array{left, right});
    ASSERT_EQ(matches.size(), 2u);
    EXPECT_EQ(matches[0].found, 2u);
    EXPECT_EQ(matches[0].labelled, 0u);
    EXPECT_EQ(matches[1].found, 0u);
    EXPECT_EQ(matches[1].labelled, 1u);
}

TEST(HandScores, PinchedMeansARatioBelowThreeTenths) {
    const auto agreement = [](double found, double labelled) {
        return score({.hands = {handAt({300, 500}, found)}, .faces = {}},
                     {.hands = {handAt({300, 500}, labelled)}, .faces = {}}, width)
            .pinchAgreement();
    };
    EXPECT_EQ(agreement(29, 10), 1);
    EXPECT_EQ(agreement(31, 10), 0);
    EXPECT_EQ(agreement(31, 60), 1);
}

TEST(HandScores, SmallAndUnsureHandsAreNeitherMissedNorFalse) {
    const LabelledHand hand = handAt({300, 500}); // 160 px
    LabelledHand unsure = hand;
    unsure.isSure = false;
    const std::pair<LabelledHand, double> cases[]{{hand, 2001}, {unsure, width}};
    for (const auto& [labelled, pictureWidth] : cases) {
        for (const bool isFound : {true, false}) {
            FoundPicture found;
            if (isFound) found.hands = {hand};
            const HandScores one = score(found, {.hands = {labelled}, .faces = {}}, pictureWidth);
            EXPECT_EQ(one.labelledHands, 0);
            EXPECT_EQ(one.falseHands, 0);
        }
    }
    EXPECT_EQ(score({}, {.hands = {hand}, .faces = {}}, 1999).labelledHands, 1);
}

TEST(HandScores, ASideIsComparedWhereBothKnowIt) {
    const auto sides = [](std::optional<bool> found, std::optional<bool> labelled) {
        const HandScores one =
            score({.hands = {handAt({300, 500}, 60, found)}, .faces = {}},
                  {.hands = {handAt({300, 500}, 60, labelled)}, .faces = {}}, width);
        return std::pair(one.rightSides, one.comparedSides);
    };
    EXPECT_EQ(sides(true, true), std::pair(1, 1));
    EXPECT_EQ(sides(true, false), std::pair(0, 1));
    EXPECT_EQ(sides(true, std::nullopt), std::pair(0, 0));
    EXPECT_EQ(sides(std::nullopt, true), std::pair(0, 0));
}

TEST(HandScores, FalseHandsAreCountedApartInPicturesWithoutHands) {
    const HandScores one = score({.hands = {handAt({300, 500})}, .faces = {}}, {}, width);
    EXPECT_EQ(one.falseHands, 1);
    EXPECT_EQ(one.handFreePictures, 1);
    EXPECT_EQ(one.falseHandsThere, 1);
    EXPECT_EQ(wrongness(one), 1);
}

TEST(HandScores, TheLargestFaceCounts) {
    const LabelledFace large{{100, 100}, {200, 200}}, small{{500, 100}, {100, 100}};
    const auto right = [&](std::vector<LabelledFace> found, std::vector<LabelledFace> labelled) {
        const HandScores one = score({.hands = {}, .faces = std::move(found)},
                                     {.hands = {}, .faces = std::move(labelled)}, width);
        return std::pair(one.rightFaces, one.facePictures);
    };
    EXPECT_EQ(right({small, large}, {large, small}), std::pair(1, 1));
    EXPECT_EQ(right({small}, {large, small}), std::pair(0, 1));
    EXPECT_EQ(right({{{120, 100}, {200, 200}}}, {large}), std::pair(1, 1));
    EXPECT_EQ(right({{{200, 100}, {200, 200}}}, {large}), std::pair(0, 1)) << "a third overlaps";
    EXPECT_EQ(right({}, {large}), std::pair(0, 1));
    EXPECT_EQ(
        score({.hands = {}, .faces = {{large}}}, {.hands = {}, .faces = {{}}}, width).falseFaces,
        1);
    EXPECT_EQ(score({.hands = {}, .faces = {{large}}}, {}, width).falseFaces, 0) << "nobody looked";
}

TEST(HandScores, AddUp) {
    const LabelledHand hand = handAt({300, 500});
    HandScores sum;
    sum += score({.hands = {hand}, .faces = {}}, {.hands = {hand}, .faces = {}}, width);
    sum += score({}, {.hands = {hand}, .faces = {}}, width);
    EXPECT_EQ(sum.pictures, 2);
    EXPECT_EQ(sum.recall(), 0.5);
    EXPECT_EQ(sum.joints, 21);
}

} // namespace lanternfly
