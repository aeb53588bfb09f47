#include "platform/linux/vision/HandTracker.h"

#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "TestHand.h"

namespace lanternfly {
namespace {

// A picture with these hands in it, and a record of what was asked about it.
class Scene final : public HandSight {
public:
    struct Hand {
        HandReading reading;
        double score = 0.9;
    };
    std::vector<Hand> hands;
    std::vector<FaceCandidate> faces;
    int searches = 0;
    int readings = 0;
    int readingsWithPrior = 0;

    int widthPX() const override { return 1000; }
    int heightPX() const override { return 1000; }

    Sighting search(double handThreshold) override {
        ++searches;
        Sighting seen;
        for (const Hand& hand : hands)
            if (hand.score > handThreshold)
                seen.hands.items[seen.hands.count++] = {hand.score,
                                                        cropAround(hand.reading.joints)};
        for (const FaceCandidate& face : faces)
            seen.faces.items[seen.faces.count++] = face;
        return seen;
    }

    // The hand in the crop, or a reading of nothing.
    HandReading read(const HandCrop& crop, const JointPrior* prior) override {
        ++readings;
        if (prior) ++readingsWithPrior;
        const Hand* nearest = nullptr;
        double distance = 0.5 * crop.sidePX;
        for (const Hand& hand : hands) {
            const double d = glm::distance(cropAround(hand.reading.joints).centre, crop.centre);
            if (d < distance) {
                distance = d;
                nearest = &hand;
            }
        }
        return nearest ? nearest->reading : testReading(testHand({500, 500}), 0.1f, 0.02);
    }
};

Scene::Hand handAt(double2 wrist, float confidence = 0.9f, double presence = 0.95,
                   double right = 0.9) {
    return {.reading = testReading(testHand(wrist), confidence, presence, right)};
}

const double2 here{300, 600};
const double2 there{700, 600};

// A tracker that has followed the scene for some pictures.
HandTracker following(Scene& scene, int pictures) {
    HandTracker tracker;
    for (int i = 0; i < pictures; ++i)
        tracker.follow(scene);
    scene.searches = scene.readings = scene.readingsWithPrior = 0;
    return tracker;
}

} // namespace

TEST(HandTracker, SearchesEveryPictureWhileThereIsNoHand) {
    Scene scene;
    HandTracker tracker;
    for (int i = 0; i < 7; ++i)
        tracker.follow(scene);
    EXPECT_EQ(scene.searches, 7);
    EXPECT_EQ(scene.readings, 0);
}

TEST(HandTracker, SearchesEveryFifthPictureWhileThereIsOneHand) {
    Scene scene;
    scene.hands = {handAt(here)};
    HandTracker tracker = following(scene, 1);
    for (int i = 0; i < 10; ++i)
        tracker.follow(scene);
    EXPECT_EQ(scene.searches, 2);
    EXPECT_EQ(scene.readings, 10);
}

TEST(HandTracker, NeverSearchesWhileThereAreTwoSureHands) {
    Scene scene;
    scene.hands = {handAt(here), handAt(there)};
    HandTracker tracker = following(scene, 1);
    for (int i = 0; i < 20; ++i)
        tracker.follow(scene);
    EXPECT_EQ(scene.searches, 0);
    EXPECT_EQ(scene.readings, 40);
}

TEST(HandTracker, ConfirmsAHandInItsSecondPicture) {
    Scene scene;
    scene.hands = {handAt(here)};
    HandTracker tracker;
    tracker.follow(scene);
    ASSERT_EQ(tracker.hands().size(), 1u);
    EXPECT_FALSE(tracker.isConfirmed(tracker.hands()[0]));
    tracker.follow(scene);
    EXPECT_TRUE(tracker.isConfirmed(tracker.hands()[0]));
}

TEST(HandTracker, ReadsANewHandTwiceWithoutExpectingAnything) {
    Scene scene;
    scene.hands = {handAt(here)};
    HandTracker tracker;
    tracker.follow(scene);
    EXPECT_EQ(scene.readings, 2);
    tracker.follow(scene);
    EXPECT_EQ(scene.readingsWithPrior, 0);
    tracker.follow(scene);
    EXPECT_EQ(scene.readingsWithPrior, 1);
}

struct Entry {
    const char* name;
    double score, presence;
    float confidence;
    bool enters;
};

class HandTrackerEntry : public testing::TestWithParam<Entry> {};

TEST_P(HandTrackerEntry, NeedsScorePresenceAndConfidence) {
    Scene scene;
    scene.hands = {handAt(here, GetParam().confidence, GetParam().presence)};
    scene.hands[0].score = GetParam().score;
    HandTracker tracker;
    tracker.follow(scene);
    EXPECT_EQ(tracker.hands().size(), GetParam().enters ? 1u : 0u);
}

INSTANTIATE_TEST_SUITE_P(Limits, HandTrackerEntry,
                         testing::Values(Entry{"JustGoodEnough", 0.36, 0.61, 0.51f, true},
                                         Entry{"LowScore", 0.34, 0.9, 0.9f, false},
                                         Entry{"LowPresence", 0.9, 0.59, 0.9f, false},
                                         Entry{"LowConfidence", 0.9, 0.9, 0.49f, false}),
                         [](const auto& entry) { return entry.param.name; });

TEST(HandTracker, FollowsAMovingHandUnderOneIdentity) {
    Scene scene;
    scene.hands = {handAt(here)};
    HandTracker tracker = following(scene, 2);
    const uint64_t id = tracker.hands()[0].id();
    for (int i = 1; i <= 20; ++i) {
        scene.hands = {handAt(here + double2{15.0 * i, 0})};
        tracker.follow(scene);
    }
    ASSERT_EQ(tracker.hands().size(), 1u);
    EXPECT_EQ(tracker.hands()[0].id(), id);
    EXPECT_EQ(tracker.hands()[0].reading().joints[0], here + double2(300, 0));
}

TEST(HandTracker, LetsAHandGoInTheSecondWeakPictureInARow) {
    Scene scene;
    scene.hands = {handAt(here)};
    HandTracker tracker = following(scene, 3);
    const auto show = [&](double presence, float confidence) {
        scene.hands = {handAt(here, confidence, presence)};
        tracker.follow(scene);
        return tracker.hands().size();
    };
    EXPECT_EQ(show(0.34, 0.9f), 1u);
    EXPECT_EQ(show(0.9, 0.9f), 1u); // forgiven
    EXPECT_EQ(show(0.9, 0.32f), 1u);
    EXPECT_EQ(show(0.34, 0.9f), 0u);
}

TEST(HandTracker, LetsAHandGoAtOnceWhenThereIsNone) {
    Scene scene;
    scene.hands = {handAt(here)};
    HandTracker tracker = following(scene, 3);
    scene.hands.clear();
    tracker.follow(scene);
    EXPECT_TRUE(tracker.hands().empty());
}

TEST(HandTracker, LetsAReadingGoThatBurstsCollapsesOrIsNoNumber) {
    JointPositions broken = testHand(here);
    broken[3].x = std::numeric_limits<double>::quiet_NaN();
    for (const JointPositions& joints : {testHand(here, 2.2), testHand(here, 0.4), broken}) {
        Scene scene;
        scene.hands = {handAt(here)};
        HandTracker tracker = following(scene, 3);
        // What the network answers inside the old crop, whatever the new one's middle is.
        class Answer final : public HandSight {
        public:
            explicit Answer(const JointPositions& answer) : _answer(answer) {}
            int widthPX() const override { return 1000; }
            int heightPX() const override { return 1000; }
            Sighting search(double) override { return {}; }
            HandReading read(const HandCrop&, const JointPrior*) override {
                return testReading(_answer);
            }

        private:
            JointPositions _answer;
        } answer(joints);
        tracker.follow(answer);
        EXPECT_TRUE(tracker.hands().empty());
    }
}

TEST(HandTracker, LetsAHandGoThatLeavesThePicture) {
    Scene scene;
    scene.hands = {handAt({920, 600})};
    HandTracker tracker = following(scene, 3);
    for (int i = 1; i <= 20 && !tracker.hands().empty(); ++i) {
        scene.hands = {handAt({920 + 20.0 * i, 600})};
        scene.hands[0].score = 0;
        tracker.follow(scene);
        for (const HandTrack& hand : tracker.hands())
            EXPECT_LT(centroid(hand.reading().joints).x, 1100);
    }
    EXPECT_TRUE(tracker.hands().empty());
}

TEST(HandTracker, OfTwoTracksThatMeetOnOneHandTheSeniorStays) {
    Scene scene;
    scene.hands = {handAt(here)};
    HandTracker tracker = following(scene, 5); // the next search is in the sixth picture
    const uint64_t senior = tracker.hands()[0].id();
    scene.hands = {handAt(here), handAt(here + double2{110, 0}, 0.95f)};
    tracker.follow(scene);
    ASSERT_EQ(tracker.hands().size(), 2u);
    scene.hands = {handAt(here), handAt(here + double2{50, 0}, 0.95f)};
    tracker.follow(scene);
    ASSERT_EQ(tracker.hands().size(), 1u);
    EXPECT_EQ(tracker.hands()[0].id(), senior);
}

TEST(HandTracker, NeverFollowsMoreThanTwoHands) {
    Scene scene;
    scene.hands = {handAt({150, 400}), handAt({500, 400}), handAt({850, 400})};
    HandTracker tracker = following(scene, 30);
    EXPECT_EQ(tracker.hands().size(), 2u);
}

TEST(HandTracker, ADoubtfulHandGoesWhenTheDetectorDeniesItThreeTimes) {
    Scene scene;
    scene.hands = {handAt(here, 0.6f), handAt(there, 0.6f)};
    HandTracker tracker = following(scene, 1);
    scene.hands[0].score = scene.hands[1].score = 0;
    for (int i = 0; i < 29; ++i)
        tracker.follow(scene); // asked in pictures 10 and 20
    EXPECT_EQ(scene.searches, 2);
    EXPECT_EQ(tracker.hands().size(), 2u);
    tracker.follow(scene);
    EXPECT_EQ(tracker.hands().size(), 0u);
}

TEST(HandTracker, ADoubtfulHandStaysWithTheDetectorsWeakSupport) {
    Scene scene;
    scene.hands = {handAt(here, 0.6f)};
    HandTracker tracker = following(scene, 1);
    scene.hands[0].score = 0.31;
    for (int i = 0; i < 100; ++i)
        tracker.follow(scene);
    EXPECT_EQ(tracker.hands().size(), 1u);
}

TEST(HandTracker, OfTwoHandsAlikeTheWeakerVoteYields) {
    Scene scene;
    scene.hands = {handAt(here, 0.9f, 0.95, 0.95), handAt(there, 0.9f, 0.95, 0.55)};
    HandTracker tracker = following(scene, 3);
    ASSERT_EQ(tracker.hands().size(), 2u);
    EXPECT_GT(tracker.hands()[0].chiralityVote(), 0);
    EXPECT_LT(tracker.hands()[1].chiralityVote(), 0);
}

TEST(HandTracker, TwoHandsThatAreBothCertainKeepTheirChirality) {
    Scene scene;
    scene.hands = {handAt(here, 0.9f, 0.95, 0.95), handAt(there, 0.9f, 0.95, 0.95)};
    HandTracker tracker = following(scene, 10);
    EXPECT_GT(tracker.hands()[0].chiralityVote(), 3);
    EXPECT_GT(tracker.hands()[1].chiralityVote(), 3);
}

// A weak look of the detector and a reading of little confidence: a bright window for instance.
Scene::Hand somethingLikeAHandAt(double2 wrist) {
    Scene::Hand hand = handAt(wrist, 0.55f);
    hand.score = 0.42;
    return hand;
}

TEST(HandTracker, WhatOnlyRemindsOfAHandIsFollowedAndNotReported) {
    Scene scene;
    scene.hands = {somethingLikeAHandAt(here)};
    HandTracker tracker = following(scene, 50);
    ASSERT_EQ(tracker.hands().size(), 1u);
    EXPECT_FALSE(tracker.isConfirmed(tracker.hands()[0]));
}

TEST(HandTracker, OneReadingOfConfidenceProvesAHandForGood) {
    Scene scene;
    scene.hands = {somethingLikeAHandAt(here)};
    HandTracker tracker = following(scene, 5);
    scene.hands[0].reading = testReading(testHand(here), 0.81f);
    tracker.follow(scene);
    EXPECT_TRUE(tracker.isConfirmed(tracker.hands()[0]));
    scene.hands[0] = somethingLikeAHandAt(here);
    tracker.follow(scene);
    EXPECT_TRUE(tracker.isConfirmed(tracker.hands()[0]));
}

TEST(HandTracker, OneSureLookOfTheDetectorProvesAHand) {
    Scene scene;
    scene.hands = {somethingLikeAHandAt(here)};
    HandTracker tracker = following(scene, 5);
    scene.hands[0].score = HandTracker::Limits::defaults.provenScore;
    tracker.follow(scene); // the sixth picture is searched
    EXPECT_TRUE(tracker.isConfirmed(tracker.hands()[0]));
}

TEST(HandTracker, AHandThatAppearsOnAFaceNeedsBothProofs) {
    Scene scene;
    scene.hands = {handAt(here, 0.9f)};
    scene.hands[0].score = 0.42;
    const FaceCandidate face{.score = 0.8, .centre = here - double2{0, 70}, .size = {120, 160}};
    scene.faces = {face};
    HandTracker tracker = following(scene, 5);
    ASSERT_EQ(tracker.hands().size(), 1u);
    EXPECT_FALSE(tracker.isConfirmed(tracker.hands()[0]));
    scene.hands[0].score = 0.9;
    tracker.follow(scene);
    EXPECT_TRUE(tracker.isConfirmed(tracker.hands()[0]));
}

TEST(HandTracker, AHandThatMovesInFrontOfAFaceStays) {
    Scene scene;
    scene.hands = {handAt(here)};
    HandTracker tracker = following(scene, 3);
    scene.faces = {{.score = 0.8, .centre = here, .size = {400, 400}}};
    scene.hands[0].score = 0;
    for (int i = 0; i < 20; ++i)
        tracker.follow(scene);
    ASSERT_EQ(tracker.hands().size(), 1u);
    EXPECT_TRUE(tracker.isConfirmed(tracker.hands()[0]));
}

TEST(HandTracker, WhatWasNeverProvenGivesWayToAHand) {
    Scene scene;
    scene.hands = {somethingLikeAHandAt({150, 400}), somethingLikeAHandAt({850, 400})};
    HandTracker tracker = following(scene, 5);
    ASSERT_EQ(tracker.hands().size(), 2u);
    scene.hands.push_back(handAt({500, 900}));
    tracker.follow(scene);
    ASSERT_EQ(tracker.hands().size(), 2u);
    EXPECT_EQ(tracker.hands()[0].reading().joints[0], double2(850, 400));
    EXPECT_EQ(tracker.hands()[1].reading().joints[0], double2(500, 900));
    tracker.follow(scene);
    EXPECT_TRUE(tracker.isConfirmed(tracker.hands()[1]));
}

TEST(HandTracker, TwoProvenHandsGiveWayToNone) {
    Scene scene;
    scene.hands = {handAt({150, 400}), handAt({850, 400})};
    HandTracker tracker = following(scene, 5);
    scene.hands.push_back(handAt({500, 900}));
    for (int i = 0; i < 20; ++i)
        tracker.follow(scene);
    EXPECT_EQ(tracker.hands()[0].reading().joints[0], double2(150, 400));
    EXPECT_EQ(tracker.hands()[1].reading().joints[0], double2(850, 400));
}

TEST(HandTracker, ForgetsEverythingOnReset) {
    Scene scene;
    scene.hands = {handAt(here), handAt(there)};
    HandTracker tracker = following(scene, 3);
    tracker.reset();
    EXPECT_TRUE(tracker.hands().empty());
    tracker.follow(scene);
    EXPECT_EQ(scene.searches, 1);
}

} // namespace lanternfly
