#include "platform/linux/vision/HeatmapDecoder.h"

#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "platform/linux/vision/HandGeometry.h"

namespace lanternfly {
namespace {

constexpr int side = 40;
constexpr size_t cellsPerMap = side * side;

// Logits of all maps, and blobs to put on them.
struct Maps {
    std::vector<float> logits = std::vector<float>(handJointCount * cellsPerMap, -20.f);

    float& at(HandJoint joint, int x, int y) {
        return logits[index(joint) * cellsPerMap + static_cast<size_t>(y * side + x)];
    }
    // Log of a Gaussian of 1.2 cells.
    void addBlob(HandJoint joint, double x, double y, double height) {
        for (int v = 0; v < side; ++v)
            for (int u = 0; u < side; ++u) {
                const double dx = u - x, dy = v - y;
                float& logit = at(joint, u, v);
                logit = std::max(
                    logit, static_cast<float>(height - (dx * dx + dy * dy) / (2 * 1.2 * 1.2)));
            }
    }
    // Every joint somewhere of its own.
    static Maps spread() {
        Maps maps;
        for (size_t i = 0; i < handJointCount; ++i)
            maps.addBlob(static_cast<HandJoint>(i), 4 + static_cast<double>(i % 5) * 8,
                         4 + static_cast<double>(i / 5) * 8, 10);
        return maps;
    }
    HeatmapDecoder::Joints decode(const HeatmapDecoder::Expectation* expected = nullptr) const {
        HeatmapDecoder decoder(side);
        HeatmapDecoder::Joints joints;
        decoder.decode(logits, expected, joints);
        return joints;
    }
    DecodedJoint decode(HandJoint joint) const { return decode()[index(joint)]; }
};

HeatmapDecoder::Expectation expecting(HandJoint joint, double2 position, double weight) {
    HeatmapDecoder::Expectation expected{};
    expected[index(joint)] = {.position = position, .weight = weight};
    return expected;
}

} // namespace

TEST(HeatmapDecoder, FindsTheMiddleOfABlobBetweenCells) {
    Maps maps;
    maps.addBlob(HandJoint::middlePIP, 20.3, 11.6, 10);
    const DecodedJoint joint = maps.decode(HandJoint::middlePIP);
    EXPECT_NEAR(joint.position.x, (20.3 + 0.5) / 40, 0.002);
    EXPECT_NEAR(joint.position.y, (11.6 + 0.5) / 40, 0.002);
    EXPECT_GT(joint.confidence, 0.9f);
}

TEST(HeatmapDecoder, AgreesWithAStraightforwardEvaluationOfRandomMaps) {
    std::mt19937 random(11);
    std::normal_distribution<float> noise(0, 2);
    Maps maps = Maps::spread();
    for (float& logit : maps.logits)
        logit += noise(random);
    const HeatmapDecoder::Joints joints = maps.decode();
    for (size_t i = 0; i < handJointCount; ++i) {
        const float* map = maps.logits.data() + i * cellsPerMap;
        double total = 0;
        int px = 0, py = 0;
        for (int y = 0; y < side; ++y)
            for (int x = 0; x < side; ++x) {
                total += std::exp(static_cast<double>(map[y * side + x]));
                if (map[y * side + x] > map[py * side + px]) px = x, py = y;
            }
        double mass = 0, sx = 0, sy = 0;
        for (int y = 0; y < side; ++y)
            for (int x = 0; x < side; ++x)
                if (std::abs(x - px) <= 3 && std::abs(y - py) <= 3) {
                    const double p = std::exp(static_cast<double>(map[y * side + x])) / total;
                    mass += p;
                    sx += p * (x + 0.5) / 40;
                    sy += p * (y + 0.5) / 40;
                }
        EXPECT_NEAR(static_cast<double>(joints[i].confidence), mass, 1e-5) << "joint " << i;
        EXPECT_NEAR(joints[i].position.x, sx / mass, 1e-5) << "joint " << i;
        EXPECT_NEAR(joints[i].position.y, sy / mass, 1e-5) << "joint " << i;
    }
}

TEST(HeatmapDecoder, ReadsAPeakInTheCornerWithTheWindowThatIsLeft) {
    Maps maps;
    maps.at(HandJoint::wrist, 0, 39) = 30;
    const DecodedJoint joint = maps.decode(HandJoint::wrist);
    EXPECT_NEAR(joint.position.x, 0.5 / 40, 1e-6);
    EXPECT_NEAR(joint.position.y, 39.5 / 40, 1e-6);
    EXPECT_NEAR(static_cast<double>(joint.confidence), 1, 1e-6);
}

TEST(HeatmapDecoder, SplitProbabilityHalvesTheConfidence) {
    Maps maps;
    maps.addBlob(HandJoint::ringDIP, 8, 8, 10);
    maps.addBlob(HandJoint::ringDIP, 30, 30, 10);
    EXPECT_NEAR(static_cast<double>(maps.decode(HandJoint::ringDIP).confidence), 0.49, 0.02);
}

TEST(HeatmapDecoder, ExpectationChoosesBetweenPeaksAndDoesNotPull) {
    Maps maps;
    maps.addBlob(HandJoint::ringDIP, 8, 8, 10.5);
    maps.addBlob(HandJoint::ringDIP, 30, 30, 10);
    EXPECT_NEAR(maps.decode(HandJoint::ringDIP).position.x, 8.5 / 40, 0.001);
    // Expected nearer to the lower peak, but not on it.
    const auto expected = expecting(HandJoint::ringDIP, {0.68, 0.68}, 1);
    const DecodedJoint joint = maps.decode(&expected)[index(HandJoint::ringDIP)];
    EXPECT_NEAR(joint.position.x, 30.5 / 40, 0.001);
    const auto ignored = expecting(HandJoint::ringDIP, {0.68, 0.68}, 0);
    EXPECT_NEAR(maps.decode(&ignored)[index(HandJoint::ringDIP)].position.x, 8.5 / 40, 0.001);
}

TEST(HeatmapDecoder, ExpectationNeverOutweighsClearEvidence) {
    Maps maps;
    maps.addBlob(HandJoint::ringDIP, 8, 8, 10);
    maps.addBlob(HandJoint::ringDIP, 30, 30, 5.9); // more than the cap of 4 below
    const auto expected = expecting(HandJoint::ringDIP, {30.5 / 40, 30.5 / 40}, 1);
    EXPECT_NEAR(maps.decode(&expected)[index(HandJoint::ringDIP)].position.x, 8.5 / 40, 0.001);
}

// Thumb tip and index tip on one spot; the thumb tip's map has 38 % of its probability elsewhere.
Maps tipsOnOneSpot() {
    Maps maps = Maps::spread();
    for (const HandJoint tip : {HandJoint::thumbTip, HandJoint::indexTip})
        for (int i = 0; i < side * side; ++i)
            maps.at(tip, i % side, i / side) = -20;
    maps.addBlob(HandJoint::indexTip, 10, 10, 10);
    maps.addBlob(HandJoint::thumbTip, 11, 10, 10);
    maps.addBlob(HandJoint::thumbTip, 25, 30, 9.5);
    return maps;
}

TEST(HeatmapDecoder, OneOfTwoTipsOnOneSpotMovesToItsSecondPeak) {
    const HeatmapDecoder::Joints joints = tipsOnOneSpot().decode();
    EXPECT_NEAR(joints[index(HandJoint::thumbTip)].position.x, 25.5 / 40, 0.001);
    EXPECT_NEAR(joints[index(HandJoint::indexTip)].position.x, 10.5 / 40, 0.001);
}

TEST(HeatmapDecoder, NoTipMovesToTheTipOfAnotherFinger) {
    Maps maps = tipsOnOneSpot();
    for (int i = 0; i < side * side; ++i)
        maps.at(HandJoint::middleTip, i % side, i / side) = -20;
    maps.addBlob(HandJoint::middleTip, 27, 29, 10);
    EXPECT_NEAR(maps.decode(HandJoint::thumbTip).position.x, 11.5 / 40, 0.001);
}

TEST(HeatmapDecoder, NoTipMovesToAPlaceThatThePriorRulesOut) {
    const auto together = expecting(HandJoint::thumbTip, {11.5 / 40, 10.5 / 40}, 1);
    const auto joints = tipsOnOneSpot().decode(&together);
    EXPECT_NEAR(joints[index(HandJoint::thumbTip)].position.x, 11.5 / 40, 0.001);
}

TEST(HeatmapDecoder, TouchingTipsWithoutASecondPeakStayTogether) {
    Maps maps = Maps::spread();
    for (const HandJoint tip : {HandJoint::thumbTip, HandJoint::indexTip}) {
        for (int i = 0; i < side * side; ++i)
            maps.at(tip, i % side, i / side) = -20;
        maps.addBlob(tip, 10, 10, 10);
        maps.addBlob(tip, 25, 30, 8); // 12 % of its probability
    }
    const HeatmapDecoder::Joints joints = maps.decode();
    EXPECT_NEAR(joints[index(HandJoint::thumbTip)].position.x, 10.5 / 40, 0.001);
    EXPECT_NEAR(joints[index(HandJoint::indexTip)].position.x, 10.5 / 40, 0.001);
}

TEST(HeatmapDecoder, AFlatMapIsHardlyAnyConfidence) {
    Maps maps;
    // 7 × 7 of 1600 cells, or 4 × 4 where the first of equal cells is the corner.
    EXPECT_NEAR(static_cast<double>(maps.decode(HandJoint::wrist).confidence), 16 / 1600.0, 1e-5);
}

TEST(HeatmapDecoder, NumbersThatAreNoneDoNoHarm) {
    Maps maps;
    std::fill(maps.logits.begin(), maps.logits.end(), std::numeric_limits<float>::quiet_NaN());
    EXPECT_NO_FATAL_FAILURE(maps.decode());
    std::fill(maps.logits.begin(), maps.logits.end(), std::numeric_limits<float>::infinity());
    const auto expected = expecting(HandJoint::wrist, {HUGE_VAL, -HUGE_VAL}, 1);
    EXPECT_NO_FATAL_FAILURE(maps.decode(&expected));
}

} // namespace lanternfly
