#include "gestures/HandGestureRecognizer.h"

#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "support/Hands.h"
#include "support/LogCapture.h"

namespace lanternfly {
namespace {

using test::LogCapture;

// An upright hand with every finger's PIP joint 0.2 above the wrist and the tips as told.
struct Fingers {
    float indexRatio = 1.8f, middleRatio = 1.8f, ringRatio = 0.9f, pinkyRatio = 0.9f;
    float confidence = 0.9f;

    HandPose pose() const {
        HandPose hand;
        const auto place = [&](HandLandmark landmark, float x, float y) {
            hand.landmarks.set(landmark, {0.5f + x, 0.2f + y, confidence});
        };
        place(HandLandmark::wrist, 0, 0);
        place(HandLandmark::indexPIP, 0, 0.2f);
        place(HandLandmark::indexTip, 0, 0.2f * indexRatio);
        place(HandLandmark::middlePIP, 0, 0.2f);
        place(HandLandmark::middleTip, 0, 0.2f * middleRatio);
        place(HandLandmark::ringPIP, 0, 0.2f);
        place(HandLandmark::ringTip, 0, 0.2f * ringRatio);
        place(HandLandmark::pinkyPIP, 0, 0.2f);
        place(HandLandmark::pinkyTip, 0, 0.2f * pinkyRatio);
        return hand;
    }
};

HandPose peace() {
    return Fingers{}.pose();
}
HandPose fist() {
    return Fingers{.indexRatio = 0.9f, .middleRatio = 0.9f}.pose();
}

class HandGestureRecognizerTest : public testing::Test {
protected:
    HandGestureRecognizerTest() {
        recognizer.setEventCallback([this](HandGestureRecognizer::Event event) {
            EXPECT_EQ(event, HandGestureRecognizer::Event::peaceSign);
            ++fired;
        });
    }
    void frame(int afterMs, std::vector<HandPose> poses) {
        clock.advanceNanos(static_cast<uint64_t>(afterMs) * 1'000'000);
        recognizer.process(poses);
    }
    // Whether this hand, held long enough, counts as the sign.
    bool isSign(const HandPose& pose) {
        recognizer.reset();
        fired = 0;
        frame(0, {pose});
        frame(200, {pose});
        return fired == 1;
    }

    ManualClock clock;
    HandGestureRecognizer recognizer{clock};
    int fired = 0;
};

TEST_F(HandGestureRecognizerTest, ASignHeldTooShortFiresNothing) {
    frame(0, {peace()});
    frame(190, {peace()});
    frame(10, {fist()});
    frame(190, {peace()});
    EXPECT_EQ(fired, 0);
}

TEST_F(HandGestureRecognizerTest, ASignHeldLongEnoughFiresOnceAndThenKeepsSilent) {
    frame(0, {peace()});
    frame(199, {peace()});
    EXPECT_EQ(fired, 0);
    frame(1, {peace()});
    EXPECT_EQ(fired, 1);
    for (int i = 0; i < 300; ++i)
        frame(33, {peace()});
    EXPECT_EQ(fired, 1);
}

TEST_F(HandGestureRecognizerTest, AfterAnAbsenceItIsHeldAndFiresAgain) {
    frame(0, {peace()});
    frame(200, {peace()});
    frame(99, {fist()});
    frame(200, {peace()});
    frame(200, {peace()});
    EXPECT_EQ(fired, 1) << "absent for too short a time, so still the same sign";

    frame(50, {fist()});
    frame(50, {});
    frame(50, {peace()});
    frame(199, {peace()});
    EXPECT_EQ(fired, 1);
    frame(1, {peace()});
    EXPECT_EQ(fired, 2);
}

TEST_F(HandGestureRecognizerTest, AGapOfOneFrameStartsTheHoldAgain) {
    frame(0, {peace()});
    frame(150, {fist()});
    frame(10, {peace()});
    frame(199, {peace()});
    EXPECT_EQ(fired, 0);
    frame(1, {peace()});
    EXPECT_EQ(fired, 1);
}

TEST_F(HandGestureRecognizerTest, AnyHandMayShowTheSign) {
    HandPose left = peace();
    left.chirality = HandPose::Chirality::left;
    frame(0, {fist(), left});
    frame(200, {peace(), fist()});
    EXPECT_EQ(fired, 1);
}

TEST_F(HandGestureRecognizerTest, EveryFingerMustBeAsTheSignWants) {
    EXPECT_TRUE(isSign(peace()));
    EXPECT_FALSE(isSign(fist()));
    EXPECT_FALSE(isSign(Fingers{.indexRatio = 1.1f}.pose()));
    EXPECT_FALSE(isSign(Fingers{.middleRatio = 1.1f}.pose()));
    EXPECT_FALSE(isSign(Fingers{.ringRatio = 1.3f}.pose()));
    EXPECT_FALSE(isSign(Fingers{.pinkyRatio = 1.3f}.pose()));
    EXPECT_TRUE(isSign(Fingers{.indexRatio = 1.2f, .ringRatio = 1.1f}.pose()));
}

TEST_F(HandGestureRecognizerTest, AHiddenJointMakesThePoseNotCount) {
    for (const HandLandmark landmark :
         {HandLandmark::wrist, HandLandmark::indexTip, HandLandmark::indexPIP,
          HandLandmark::middleTip, HandLandmark::middlePIP, HandLandmark::ringTip,
          HandLandmark::ringPIP, HandLandmark::pinkyTip, HandLandmark::pinkyPIP}) {
        HandPose missing = peace(), unsure = peace(), broken = peace(), justSure = peace();
        missing.landmarks.erase(landmark);
        EXPECT_FALSE(isSign(missing));
        HandPose::Point point = test::jointOf(unsure, landmark);
        point.confidence = 0.4f;
        justSure.landmarks.set(landmark, point);
        EXPECT_TRUE(isSign(justSure));
        point.confidence = std::nextafter(0.4f, 0.0f);
        unsure.landmarks.set(landmark, point);
        EXPECT_FALSE(isSign(unsure));
        broken.landmarks.set(landmark, {NAN, 0.5f, 0.9f});
        EXPECT_FALSE(isSign(broken));
    }
}

TEST_F(HandGestureRecognizerTest, AFingerOfNoLengthIsNotMeasured) {
    for (const HandLandmark pip : {HandLandmark::indexPIP, HandLandmark::middlePIP,
                                   HandLandmark::ringPIP, HandLandmark::pinkyPIP}) {
        HandPose pose = peace();
        pose.landmarks.set(pip, {0.5f, 0.2f, 0.9f});
        EXPECT_FALSE(isSign(pose));
    }
}

TEST_F(HandGestureRecognizerTest, SuppressionFreezesEverythingAndIsLogged) {
    LogCapture log;
    recognizer.setSuppressed(false);
    EXPECT_TRUE(log.lines().empty()) << "no change, no line";
    frame(0, {peace()});
    recognizer.setSuppressed(true);
    recognizer.setSuppressed(true);
    EXPECT_EQ(log.count("suppression engaged (pinch session active)"), 1u);
    frame(300, {peace()});
    EXPECT_EQ(fired, 0);
    recognizer.setSuppressed(false);
    EXPECT_EQ(log.count("suppression released (pinch session ended)"), 1u);
    frame(1, {peace()});
    EXPECT_EQ(fired, 1) << "the hold began before";
    EXPECT_EQ(log.lines().front().category, "HandGesture");
    EXPECT_EQ(log.lines().front().level, LogLevel::info);
}

TEST_F(HandGestureRecognizerTest, WhileSuppressedTheDebugLineComesAtMostTwiceASecond) {
    LogCapture log;
    recognizer.setSuppressed(true);
    for (int i = 0; i < 100; ++i)
        frame(10, {peace(), fist()});
    EXPECT_EQ(log.count("gesture suppressed: poses=2"), 2u);
    frame(10, {});
    EXPECT_EQ(log.count("gesture suppressed: poses=0"), 1u);
    EXPECT_EQ(log.lines().back().level, LogLevel::debug);
}

TEST_F(HandGestureRecognizerTest, ResetForgetsTheHoldTheLatchAndTheSuppression) {
    frame(0, {peace()});
    frame(200, {peace()});
    recognizer.setSuppressed(true);
    recognizer.reset();
    frame(1, {peace()});
    frame(199, {peace()});
    EXPECT_EQ(fired, 1);
    frame(1, {peace()});
    EXPECT_EQ(fired, 2);
}

TEST_F(HandGestureRecognizerTest, ParametersCanBeReplaced) {
    HandGestureRecognizer::Parameters parameters;
    EXPECT_EQ(parameters, HandGestureRecognizer::Parameters::defaults);
    parameters.holdSeconds = 0.5;
    parameters.extensionRatio = 2;
    recognizer.setParameters(parameters);
    EXPECT_FALSE(isSign(peace()));
    const HandPose wide = Fingers{.indexRatio = 2.1f, .middleRatio = 2.1f}.pose();
    frame(0, {wide});
    frame(499, {wide});
    EXPECT_EQ(fired, 0);
    frame(1, {wide});
    EXPECT_EQ(fired, 1);
}

} // namespace
} // namespace lanternfly
