#include "platform/linux/vision/HandTrack.h"

#include <gtest/gtest.h>

#include "TestHand.h"

namespace lanternfly {
namespace {

HandTrack testTrack(uint64_t id, const HandReading& first, bool isOnFace = false) {
    return HandTrack(id, first, isOnFace);
}

double2 predictedMotion(const HandTrack& track) {
    return track.predicted()[0] - track.reading().joints[0];
}

} // namespace

TEST(HandTrack, ExpectsANewHandToRest) {
    EXPECT_EQ(predictedMotion(testTrack(1, testReading(testHand({100, 200})))), double2(0, 0));
}

TEST(HandTrack, CarriesSixTenthsOfTheSmoothedMotionOn) {
    HandTrack track = testTrack(1, testReading(testHand({100, 200})));
    track.update(testReading(testHand({110, 200})));
    EXPECT_NEAR(predictedMotion(track).x, 0.6 * 5, 1e-9); // half of the first motion is believed
    track.update(testReading(testHand({120, 200})));
    EXPECT_NEAR(predictedMotion(track).x, 0.6 * (0.5 * 5 + 0.5 * 10), 1e-9);
    EXPECT_EQ(track.age(), 3);
}

TEST(HandTrack, FingersDoNotMoveThePrediction) {
    HandTrack track = testTrack(1, testReading(testHand({100, 200})));
    JointPositions waving = testHand({100, 200});
    for (const HandJoint tip : {HandJoint::thumbTip, HandJoint::indexTip, HandJoint::indexDIP})
        waving[index(tip)] += double2{40, 10};
    track.update(testReading(waving));
    EXPECT_EQ(predictedMotion(track), double2(0, 0));
}

TEST(HandTrack, PriorCountsByTheLastConfidence) {
    HandReading reading = testReading(testHand({100, 200}));
    reading.confidences[0] = 0.2f;
    reading.confidences[1] = 0.5f;
    reading.confidences[2] = 0.8f;
    const JointPrior prior = testTrack(1, reading).prior();
    EXPECT_DOUBLE_EQ(prior.weights[0], 0);
    EXPECT_NEAR(prior.weights[1], 0.5, 1e-6);
    EXPECT_DOUBLE_EQ(prior.weights[2], 1);
}

TEST(HandTrack, ChiralityIsAVoteOverManyPictures) {
    HandTrack track = testTrack(1, testReading(testHand({0, 0}), 1, 1, 0.9));
    EXPECT_NEAR(track.chiralityVote(), std::log(9.0), 1e-9);
    track.update(testReading(testHand({0, 0}), 1, 1, 0.9));
    EXPECT_NEAR(track.chiralityVote(), 1.98 * std::log(9.0), 1e-9);
    // One picture that says the opposite does not turn it.
    track.update(testReading(testHand({0, 0}), 1, 1, 0.1));
    EXPECT_GT(track.chiralityVote(), 0);
}

TEST(HandTrack, ChiralityVoteIsBoundedAndCountsCertainPicturesOnly) {
    HandTrack track = testTrack(1, testReading(testHand({0, 0}), 0.f, 1, 1));
    EXPECT_DOUBLE_EQ(track.chiralityVote(), 0);
    for (int i = 0; i < 100; ++i)
        track.update(testReading(testHand({0, 0}), 1, 1, 0));
    EXPECT_DOUBLE_EQ(track.chiralityVote(), -20);
}

TEST(HandTrack, CountsInARow) {
    HandTrack track = testTrack(1, testReading(testHand({0, 0})));
    EXPECT_EQ(track.countWeak(true), 1);
    EXPECT_EQ(track.countWeak(true), 2);
    EXPECT_EQ(track.countWeak(false), 0);
    EXPECT_EQ(track.countUnsupported(true), 1);
}

TEST(HandTrack, TwoTracksAreOneHandWhenTheirCentresAreClose) {
    const HandTrack hand = testTrack(1, testReading(testHand({100, 200}))); // 160 pixels
    EXPECT_TRUE(isSameHand(hand, testTrack(2, testReading(testHand({155, 200})))));
    EXPECT_FALSE(isSameHand(hand, testTrack(2, testReading(testHand({170, 200})))));
}

TEST(HandTrack, ACandidateIsOnAHandWithinSixTenthsOfItsSize) {
    const HandTrack hand = testTrack(1, testReading(testHand({100, 200})));
    const double2 middle = centroid(hand.reading().joints);
    EXPECT_TRUE(isOn(hand, {.score = 1, .crop = {.centre = middle + double2{95, 0}}}));
    EXPECT_FALSE(isOn(hand, {.score = 1, .crop = {.centre = middle + double2{97, 0}}}));
}

TEST(HandTrack, IsProvenByAReadingOrByTheDetector) {
    const HandReading reading = testReading(testHand({100, 200}));
    HandTrack read = testTrack(1, reading), seen = testTrack(2, reading);
    EXPECT_FALSE(read.isProven());
    read.proveByReading();
    seen.proveBySight();
    EXPECT_TRUE(read.isProven());
    EXPECT_TRUE(seen.isProven());
}

TEST(HandTrack, OnAFaceIsProvenByBothOnly) {
    HandTrack track = testTrack(1, testReading(testHand({100, 200})), true);
    track.proveByReading();
    EXPECT_FALSE(track.isProven());
    track.proveBySight();
    EXPECT_TRUE(track.isProven());
}

TEST(HandTrack, APalmLiesOnAFaceWhenItsMiddleDoes) {
    const JointPositions joints = testHand({100, 200}); // its palm's middle: 105.2, 136.8
    const FaceCandidate face{.score = 0.9, .centre = {100, 130}, .size = {40, 40}};
    EXPECT_TRUE(isPalmOn(face, joints));
    EXPECT_FALSE(isPalmOn({.score = 0.9, .centre = {100, 130}, .size = {10, 40}}, joints));
    EXPECT_FALSE(isPalmOn({.score = 0.9, .centre = {100, 130}, .size = {40, 10}}, joints));
}

} // namespace lanternfly
