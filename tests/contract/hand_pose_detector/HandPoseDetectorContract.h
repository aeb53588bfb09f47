// What every hand detector promises. A test program includes this once and instantiates the suite
// with its detectors:
//
//   INSTANTIATE_TEST_SUITE_P(Scripted, HandPoseDetectorContract, testing::Values(
//       HandPoseDetectorCase{"Scripted", makeScripted}), nameOfCase);
#pragma once

#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/HandPoseDetector.h"

namespace lanternfly::test {

struct HandPoseDetectorCase {
    std::string name;
    // A fresh detector; null when this machine lacks what it needs.
    std::function<std::unique_ptr<HandPoseDetector>()> make;
    // Pictures that show hands, in the order of a clip; may be empty.
    std::function<std::vector<PixelBufferRef>()> pictures = [] {
        return std::vector<PixelBufferRef>{};
    };
};

inline void PrintTo(const HandPoseDetectorCase& detector, std::ostream* out) {
    *out << detector.name;
}
inline std::string nameOfCase(const testing::TestParamInfo<HandPoseDetectorCase>& info) {
    return info.param.name;
}

// Reproducible noise: a picture that no detector can have an opinion about, and must bear.
inline PixelBufferRef noisePicture(int width, int height, PixelFormat format = PixelFormat::bgra8,
                                   uint32_t seed = 1) {
    auto picture = PixelBuffer::create(width, height, format);
    std::mt19937 random(seed);
    const size_t rows = format == PixelFormat::bgra8
                            ? static_cast<size_t>(height)
                            : static_cast<size_t>(height) + static_cast<size_t>(height + 1) / 2;
    for (size_t i = 0; i < rows * picture->strideBytes(); ++i)
        picture->data()[i] = static_cast<uint8_t>(random());
    return picture;
}

class HandPoseDetectorContract : public testing::TestWithParam<HandPoseDetectorCase> {
protected:
    void SetUp() override {
        detector = GetParam().make();
        if (!detector) GTEST_SKIP() << GetParam().name << " cannot run on this machine";
    }

    std::vector<PixelBufferRef> clip() const {
        auto pictures = GetParam().pictures();
        for (uint32_t seed = 1; seed <= 3; ++seed)
            pictures.push_back(noisePicture(480, 270, PixelFormat::bgra8, seed));
        return pictures;
    }

    static void expectInRange(const std::vector<HandObservation>& hands) {
        EXPECT_LE(hands.size(), static_cast<size_t>(HandPoseDetector::maximumHandCount));
        const auto isUnit = [](float value) { return value >= 0 && value <= 1; };
        for (const HandObservation& hand : hands) {
            for (const auto& point : hand.points) {
                if (!point) continue;
                EXPECT_TRUE(isUnit(point->x) && isUnit(point->y) && isUnit(point->confidence))
                    << point->x << ", " << point->y << ", " << point->confidence;
            }
        }
    }

    static std::vector<float> numbersOf(const std::vector<HandObservation>& hands) {
        std::vector<float> numbers;
        for (const HandObservation& hand : hands) {
            numbers.push_back(static_cast<float>(hand.chirality));
            numbers.push_back(hand.isReadable);
            for (const auto& point : hand.points)
                for (const float number : {point ? 1.0f : 0.0f, point ? point->x : 0,
                                           point ? point->y : 0, point ? point->confidence : 0})
                    numbers.push_back(number);
        }
        return numbers;
    }

    static HandObservation strangeHand() {
        HandObservation hand;
        hand.points.fill(HandObservation::Point{5, 5, 5});
        return hand;
    }

    std::unique_ptr<HandPoseDetector> detector;
};

TEST_P(HandPoseDetectorContract, FindsAtMostTwoHandsWithPointsInThePicture) {
    std::vector<HandObservation> hands;
    for (const auto& picture : clip()) {
        detector->detect(*picture, hands);
        expectInRange(hands);
    }
}

TEST_P(HandPoseDetectorContract, BearsPicturesOfAnySize) {
    constexpr int sizes[][2] = {{1, 1},     {2, 1},     {1, 270}, {3, 5},      {17, 481},
                                {479, 269}, {480, 270}, {641, 3}, {1280, 720}, {1, 2000}};
    std::vector<HandObservation> hands;
    for (const auto& [width, height] : sizes) {
        SCOPED_TRACE(testing::Message() << width << "x" << height);
        detector->detect(*noisePicture(width, height), hands);
        expectInRange(hands);
    }
}

TEST_P(HandPoseDetectorContract, ReplacesWhatWasInTheList) {
    std::vector<HandObservation> hands(5, strangeHand());
    detector->detect(*noisePicture(480, 270), hands);
    expectInRange(hands);
}

TEST_P(HandPoseDetectorContract, RefusesOtherFormatsAndLeavesNoHands) {
    std::vector<HandObservation> hands(1, strangeHand());
    try {
        detector->detect(*noisePicture(480, 270, PixelFormat::nv12), hands);
        ADD_FAILURE() << "took an NV12 picture for a BGRA one";
    } catch (const HandPoseError& error) {
        EXPECT_EQ(error.kind, HandPoseError::Kind::detectionFailed);
        EXPECT_STRNE(error.what(), "");
    }
    EXPECT_TRUE(hands.empty());
}

TEST_P(HandPoseDetectorContract, WorksOnAfterARefusedPicture) {
    std::vector<HandObservation> hands;
    EXPECT_THROW(detector->detect(*noisePicture(2, 2, PixelFormat::nv12), hands), HandPoseError);
    detector->detect(*noisePicture(480, 270), hands);
    expectInRange(hands);
}

TEST_P(HandPoseDetectorContract, TheSamePicturesFromAFreshStartGiveTheSameHands) {
    const auto other = GetParam().make();
    std::vector<HandObservation> hands, others(1, strangeHand());
    for (const auto& picture : clip()) {
        detector->detect(*picture, hands);
        other->detect(*picture, others);
        EXPECT_EQ(numbersOf(hands), numbersOf(others));
    }
}

TEST_P(HandPoseDetectorContract, DoesNotTouchThePicture) {
    const auto picture = noisePicture(480, 270), untouched = noisePicture(480, 270);
    std::vector<HandObservation> hands;
    detector->detect(*picture, hands);
    EXPECT_EQ(std::memcmp(picture->data(), untouched->data(), picture->strideBytes() * 270), 0);
}

} // namespace lanternfly::test
