// The hand detector on the demo clip, whose hands are exactly known.
#include <gtest/gtest.h>

#include "app/evaluate/HandEvaluation.h"
#include "platform/linux/video/VideoFileReader.h"
#include "platform/linux/vision/OpenCvHandPoseDetector.h"

namespace lanternfly {
namespace {

const std::filesystem::path source = LANTERNFLY_SOURCE_DIR;
const std::filesystem::path video = source / "demo/presenter.mp4";

std::vector<HandObservation> handsAfter(int pictures, std::vector<HandObservation>* all = nullptr) {
    OpenCvHandPoseDetector detector(source / "models");
    const auto frames = VideoFileReader::open(video);
    std::vector<HandObservation> hands;
    for (int i = 0; i < pictures; ++i) {
        detector.detect(*frames->next()->picture, hands);
        if (all) all->insert(all->end(), hands.begin(), hands.end());
    }
    return hands;
}

} // namespace

TEST(HandsInVideo, AreFoundWhereTheyAre) {
    HandEvaluation evaluation({.folder = source / "demo", .modelFolder = source / "models"});
    const auto result = evaluation.run();
    ASSERT_EQ(result.own.size(), 1u);
    const SourceResult& demo = result.own[0];
    ASSERT_EQ(demo.scores.pictures, 1080);
    ASSERT_EQ(demo.scores.labelledHands, 1012);
    // Measured: 0.989, 0.997, 1.0, 0.995, 0.982, 1.0, 0.0034. The floors leave room for another
    // build of the libraries, whose last bits differ, not for another behaviour.
    EXPECT_GE(demo.scores.recall(), 0.97);
    EXPECT_GE(demo.scores.precision(), 0.98);
    EXPECT_GE(demo.scores.chirality(), 0.99);
    EXPECT_GE(demo.scores.pck10(), 0.95);
    EXPECT_GE(demo.scores.pinchAgreement(), 0.95);
    EXPECT_GE(demo.scores.faceShare(), 0.95);
    EXPECT_LE(demo.jitter.found, 0.005);
    EXPECT_EQ(demo.pinches.matched, demo.pinches.labelled);
}

TEST(HandsInVideo, EqualPicturesGiveEqualBits) {
    std::vector<HandObservation> first, second;
    handsAfter(140, &first);
    handsAfter(140, &second);
    ASSERT_GT(first.size(), 50u);
    ASSERT_EQ(first.size(), second.size());
    for (size_t i = 0; i < first.size(); ++i) {
        EXPECT_EQ(first[i].chirality, second[i].chirality);
        for (size_t joint = 0; joint < handJointCount; ++joint) {
            const auto &a = first[i].points[joint], &b = second[i].points[joint];
            ASSERT_EQ(a.has_value(), b.has_value());
            if (!a) continue;
            ASSERT_EQ(a->x, b->x);
            ASSERT_EQ(a->y, b->y);
            ASSERT_EQ(a->confidence, b->confidence);
        }
    }
}

TEST(HandsInVideo, EveryPointLiesInThePictureWithAConfidenceInRange) {
    std::vector<HandObservation> hands;
    handsAfter(140, &hands);
    for (const HandObservation& hand : hands)
        for (const auto& point : hand.points) {
            if (!point) continue;
            EXPECT_TRUE(point->x >= 0 && point->x <= 1 && point->y >= 0 && point->y <= 1);
            EXPECT_TRUE(point->confidence >= 0 && point->confidence <= 1);
        }
}

// The first hand of the clip is raised: its wrist is the lowest joint, so y runs up.
TEST(HandsInVideo, ARaisedHandHasItsWristBelowItsFingers) {
    const auto hands = handsAfter(110);
    ASSERT_EQ(hands.size(), 1u);
    const auto& points = hands[0].points;
    ASSERT_TRUE(points[0] && points[12]);
    EXPECT_LT(points[0]->y + 0.1f, points[12]->y);
}

TEST(HandsInVideo, AnotherPictureSizeStartsAnew) {
    OpenCvHandPoseDetector detector(source / "models");
    const auto frames = VideoFileReader::open(video);
    std::vector<HandObservation> hands;
    for (int i = 0; i < 110; ++i)
        detector.detect(*frames->next()->picture, hands);
    ASSERT_EQ(hands.size(), 1u);
    const auto grey = PixelBuffer::create(640, 480);
    std::fill_n(grey->data(), grey->strideBytes() * 480, uint8_t{128});
    detector.detect(*grey, hands);
    EXPECT_TRUE(hands.empty());
    detector.detect(*frames->next()->picture, hands);
    EXPECT_TRUE(hands.empty()); // seen once more, not yet confirmed
    detector.detect(*frames->next()->picture, hands);
    EXPECT_EQ(hands.size(), 1u);
}

} // namespace lanternfly
