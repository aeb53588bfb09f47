#include "gestures/HandGestureRecognizer.h"

#include <cmath>
#include <ostream>
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

// --- The states, row by row: idle, holding, latched, each also frozen by suppression ------------

enum class Seen { nothing, fist, sign };
enum class Switch { keep, suppress, release, reset };

struct Moment {
    int afterMs;
    Seen seen;
    bool fires = false;
    Switch before = Switch::keep;
};
struct Row {
    const char* name;
    std::vector<Moment> moments;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

class HandGestureStates : public HandGestureRecognizerTest,
                          public testing::WithParamInterface<Row> {};

TEST_P(HandGestureStates, FollowTheTable) {
    int number = 0;
    for (const Moment& moment : GetParam().moments) {
        if (moment.before == Switch::reset) recognizer.reset();
        if (moment.before == Switch::suppress) recognizer.setSuppressed(true);
        if (moment.before == Switch::release) recognizer.setSuppressed(false);
        fired = 0;
        frame(moment.afterMs, moment.seen == Seen::nothing ? std::vector<HandPose>{}
                              : moment.seen == Seen::fist  ? std::vector{fist()}
                                                           : std::vector{peace()});
        EXPECT_EQ(fired, moment.fires ? 1 : 0) << "moment " << number;
        ++number;
    }
}

constexpr bool fires = true;

INSTANTIATE_TEST_SUITE_P(
    Rows, HandGestureStates,
    testing::Values(
        Row{"IdleWithoutASignStaysIdle",
            {{0, Seen::nothing}, {300, Seen::fist}, {300, Seen::nothing}, {300, Seen::sign}}},
        Row{"HeldAMomentTooShortFiresNothing",
            {{0, Seen::sign}, {190, Seen::sign}, {10, Seen::fist}, {190, Seen::sign}}},
        Row{"HeldLongEnoughFires", {{0, Seen::sign}, {199, Seen::sign}, {1, Seen::sign, fires}}},
        Row{"OneLateFrameIsEnough", {{0, Seen::sign}, {5000, Seen::sign, fires}}},
        Row{"AGapOfOneFrameStartsTheHoldAgain",
            {{0, Seen::sign},
             {150, Seen::fist},
             {10, Seen::sign},
             {199, Seen::sign},
             {1, Seen::sign, fires}}},
        Row{"LatchedItKeepsSilentHoweverLong",
            {{0, Seen::sign}, {200, Seen::sign, fires}, {33, Seen::sign}, {60000, Seen::sign}}},
        Row{"AbsentForTooShortATimeItIsStillTheSameSign",
            {{0, Seen::sign},
             {200, Seen::sign, fires},
             {99, Seen::fist},
             {1, Seen::sign},
             {99, Seen::nothing},
             {200, Seen::sign},
             {200, Seen::sign}}},
        Row{"AbsentForTheUnlatchTimeItIsHeldAndFiresAgain",
            {{0, Seen::sign},
             {200, Seen::sign, fires},
             {50, Seen::fist},
             {50, Seen::nothing},
             {50, Seen::sign},
             {199, Seen::sign},
             {1, Seen::sign, fires}}},
        Row{"AnAbsenceCountsFromTheLastSight",
            {{0, Seen::sign},
             {200, Seen::sign, fires},
             {1000, Seen::sign},
             {99, Seen::fist},
             {1, Seen::fist},
             {0, Seen::sign},
             {200, Seen::sign, fires}}},
        Row{"SuppressedNothingFires",
            {{0, Seen::sign, false, Switch::suppress}, {300, Seen::sign}, {300, Seen::sign}}},
        Row{"SuppressionFreezesTheHold",
            {{0, Seen::sign},
             {100, Seen::fist, false, Switch::suppress},
             {100, Seen::sign, fires, Switch::release}}},
        Row{"SuppressionFreezesTheLatch",
            {{0, Seen::sign},
             {200, Seen::sign, fires},
             {1000, Seen::fist, false, Switch::suppress},
             {33, Seen::sign, false, Switch::release},
             {200, Seen::sign}}},
        Row{"ResetForgetsTheHold",
            {{0, Seen::sign}, {199, Seen::sign, false, Switch::reset}, {1, Seen::sign}}},
        Row{"ResetForgetsTheLatch",
            {{0, Seen::sign},
             {200, Seen::sign, fires},
             {1, Seen::sign, false, Switch::reset},
             {200, Seen::sign, fires}}},
        Row{"ResetLiftsTheSuppression",
            {{0, Seen::sign, false, Switch::suppress},
             {33, Seen::sign, false, Switch::reset},
             {200, Seen::sign, fires}}}),
    [](const auto& test) { return test.param.name; });

// --- What counts as the sign -------------------------------------------------------------------

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
