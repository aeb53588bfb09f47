#include "gestures/TwoHandPinchRecognizer.h"

#include <cmath>
#include <ostream>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Match.h"
#include "support/Hands.h"
#include "support/LogCapture.h"
#include "support/TraceReader.h"

namespace lanternfly {
namespace {

using test::LogCapture;
using test::PinchHand;
using testing::ElementsAre;
using testing::SizeIs;
using testing::VariantWith;
using Chirality = HandPose::Chirality;

class TwoHandPinchRecognizerTest : public testing::Test {
protected:
    TwoHandPinchRecognizerTest() {
        recognizer.setEventCallback(
            [this](const TwoHandPinchEvent& event) { events.push_back(event); });
    }

    // One frame, `afterMs` after the one before; returns its events.
    std::vector<TwoHandPinchEvent> frame(int afterMs, std::vector<HandPose> poses) {
        clock.advanceNanos(static_cast<uint64_t>(afterMs) * 1'000'000);
        events.clear();
        recognizer.process(poses);
        return events;
    }
    // The `changed` of a frame that must give one.
    TwoHandPinchChanged changedBy(int afterMs, std::vector<HandPose> poses) {
        const auto told = frame(afterMs, std::move(poses));
        const bool isChange =
            told.size() == 1 && std::holds_alternative<TwoHandPinchChanged>(told.front());
        EXPECT_TRUE(isChange);
        return isChange ? std::get<TwoHandPinchChanged>(told.front()) : TwoHandPinchChanged{};
    }
    // The last of many frames of the same hands, by when the filters have come to rest.
    TwoHandPinchChanged settledBy(const std::vector<HandPose>& poses) {
        for (int i = 0; i < 400; ++i)
            frame(33, poses);
        return changedBy(33, poses);
    }
    // Whether this hand, with a pinching left one, begins a session.
    bool counts(const HandPose& hand) {
        recognizer.reset();
        return !frame(33, {left.pose(), hand}).empty();
    }

    ManualClock clock;
    TwoHandPinchRecognizer recognizer{clock};
    std::vector<TwoHandPinchEvent> events;
    PinchHand left{.chirality = Chirality::left,
                   .at = {0.3f, 0.5f},
                   .pts = MediaTime::make(1, 30),
                   .arrivedAtUptimeNanos = 11};
    PinchHand right{.chirality = Chirality::right,
                    .at = {0.7f, 0.6f},
                    .pts = MediaTime::make(2, 30),
                    .arrivedAtUptimeNanos = 22};
};

// --- The state table, row by row -------------------------------------------------------------

enum class Hand { absent, pinched, between, open, unmeasured };
enum class Told { nothing, began, changed, endedLeft, endedRight, endedWithoutTime };

struct Moment {
    int afterMs;
    Hand left, right;
    Told told;
};
struct Row {
    const char* name;
    std::vector<Moment> moments;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

void add(std::vector<HandPose>& poses, PinchHand hand, Hand state) {
    switch (state) {
    case Hand::absent:
        return;
    case Hand::pinched:
        hand.ratio = 0.3f;
        break;
    case Hand::between:
        hand.ratio = 0.5f;
        break;
    case Hand::open:
        hand.ratio = 0.8f;
        break;
    case Hand::unmeasured:
        hand.confidence = 0.29f;
        break;
    }
    poses.push_back(hand.pose());
}

class TwoHandStates : public TwoHandPinchRecognizerTest, public testing::WithParamInterface<Row> {
protected:
    Told told() const {
        if (events.empty()) return Told::nothing;
        EXPECT_THAT(events, SizeIs(1));
        return match(
            events.front(), [](const TwoHandPinchBegan&) { return Told::began; },
            [](const TwoHandPinchChanged&) { return Told::changed; },
            [&](const TwoHandPinchEnded& ended) {
                if (ended == TwoHandPinchEnded{left.pts, left.arrivedAtUptimeNanos})
                    return Told::endedLeft;
                if (ended == TwoHandPinchEnded{right.pts, right.arrivedAtUptimeNanos})
                    return Told::endedRight;
                EXPECT_EQ(ended, TwoHandPinchEnded{});
                return Told::endedWithoutTime;
            });
    }
};

TEST_P(TwoHandStates, FollowTheTable) {
    int number = 0;
    bool isActive = false;
    for (const Moment& moment : GetParam().moments) {
        std::vector<HandPose> poses;
        add(poses, right, moment.right); // the order of the poses does not matter
        add(poses, left, moment.left);
        frame(moment.afterMs, poses);
        EXPECT_EQ(told(), moment.told) << "moment " << number;
        if (moment.told != Told::nothing)
            isActive = moment.told == Told::began || moment.told == Told::changed;
        EXPECT_EQ(recognizer.isSessionActive(), isActive) << "moment " << number;
        ++number;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, TwoHandStates,
    testing::Values(Row{"one hand begins nothing",
                        {{33, Hand::pinched, Hand::open, Told::nothing},
                         {33, Hand::pinched, Hand::absent, Told::nothing},
                         {33, Hand::absent, Hand::absent, Told::nothing}}},
                    Row{"both begin at once and go on",
                        {{33, Hand::pinched, Hand::pinched, Told::began},
                         {33, Hand::pinched, Hand::pinched, Told::changed},
                         {33, Hand::pinched, Hand::pinched, Told::changed}}},
                    Row{"one after the other",
                        {{33, Hand::pinched, Hand::open, Told::nothing},
                         {33, Hand::pinched, Hand::pinched, Told::began}}},
                    Row{"at ratio 0.5 a hand counts only if it was pinching",
                        {{33, Hand::pinched, Hand::between, Told::nothing},
                         {33, Hand::pinched, Hand::pinched, Told::began},
                         {33, Hand::between, Hand::between, Told::changed},
                         {33, Hand::pinched, Hand::open, Told::nothing},
                         {33, Hand::pinched, Hand::between, Told::nothing},
                         {33, Hand::pinched, Hand::pinched, Told::changed}}},
                    Row{"a hand lost for 0.15 s is bridged without events",
                        {{33, Hand::pinched, Hand::pinched, Told::began},
                         {50, Hand::pinched, Hand::absent, Told::nothing},
                         {50, Hand::unmeasured, Hand::pinched, Told::nothing},
                         {50, Hand::absent, Hand::absent, Told::nothing},
                         {33, Hand::pinched, Hand::pinched, Told::changed}}},
                    Row{"a hand that was seen pinching and is gone leaves its pinch closed",
                        {{33, Hand::pinched, Hand::absent, Told::nothing},
                         {33, Hand::absent, Hand::pinched, Told::nothing},
                         {33, Hand::pinched, Hand::pinched, Told::began},
                         {1000, Hand::pinched, Hand::absent, Told::nothing},
                         {1000, Hand::pinched, Hand::pinched, Told::changed}}},
                    Row{"open for less than the grace time",
                        {{33, Hand::pinched, Hand::pinched, Told::began},
                         {100, Hand::open, Hand::pinched, Told::nothing},
                         {99, Hand::open, Hand::pinched, Told::nothing},
                         {0, Hand::pinched, Hand::pinched, Told::changed},
                         {199, Hand::pinched, Hand::open, Told::nothing}}},
                    Row{"open for the grace time ends with the left hand's time",
                        {{33, Hand::pinched, Hand::pinched, Told::began},
                         {199, Hand::open, Hand::pinched, Told::nothing},
                         {1, Hand::open, Hand::pinched, Told::endedLeft},
                         {33, Hand::open, Hand::pinched, Told::nothing},
                         {33, Hand::pinched, Hand::pinched, Told::began}}},
                    Row{"without the left hand it ends with the right hand's time",
                        {{33, Hand::pinched, Hand::pinched, Told::began},
                         {100, Hand::open, Hand::pinched, Told::nothing},
                         {100, Hand::absent, Hand::unmeasured, Told::endedRight}}},
                    Row{"without hands it ends without a time",
                        {{33, Hand::pinched, Hand::pinched, Told::began},
                         {100, Hand::open, Hand::open, Told::nothing},
                         {100, Hand::absent, Hand::absent, Told::endedWithoutTime}}}));

// --- Measuring --------------------------------------------------------------------------------

TEST_F(TwoHandPinchRecognizerTest, BeganTellsTheMidpointAndTheLeftHandsTime) {
    EXPECT_THAT(frame(33, {right.pose(), left.pose()}),
                ElementsAre(VariantWith<TwoHandPinchBegan>(
                    TwoHandPinchBegan{{0.5f, 0.55f}, MediaTime::make(1, 30), 11})));
}

TEST_F(TwoHandPinchRecognizerTest, AHandThatDoesNotMoveChangesNothing) {
    frame(33, {left.pose(), right.pose()});
    const auto changed = changedBy(33, {left.pose(), right.pose()});
    EXPECT_EQ(changed.midpoint, (float2{0.5f, 0.55f}));
    EXPECT_EQ(changed.yawRadians, changed.yawStartRadians);
    EXPECT_EQ(changed.scaleRatio, 1);
    EXPECT_EQ(changed.leftDeltaY, 0);
    EXPECT_EQ(changed.rightDeltaY, 0);
    EXPECT_FLOAT_EQ(changed.separation, std::hypot(0.4f, 0.1f));
    EXPECT_EQ(changed.sourcePts, MediaTime::make(1, 30));
    EXPECT_EQ(changed.arrivedAtUptimeNanos, 11u);
}

TEST_F(TwoHandPinchRecognizerTest, MovesAreToldAgainstTheStart) {
    frame(33, {left.pose(), right.pose()});
    left.at = {0.1f, 0.7f};
    right.at = {0.9f, 0.5f};
    const auto changed = settledBy({left.pose(), right.pose()});
    EXPECT_NEAR(changed.midpoint.x, 0.5f, 1e-4);
    EXPECT_NEAR(changed.midpoint.y, 0.6f, 1e-4);
    EXPECT_NEAR(changed.leftDeltaY, 0.2f, 1e-4);
    EXPECT_NEAR(changed.rightDeltaY, -0.1f, 1e-4);
    EXPECT_NEAR(changed.separation, std::hypot(0.8f, 0.2f), 1e-4);
    EXPECT_NEAR(changed.scaleRatio, 2, 1e-3);
}

TEST_F(TwoHandPinchRecognizerTest, MovesAreSmoothed) {
    frame(33, {left.pose(), right.pose()});
    left.at.y += 0.1f;
    const auto changed = changedBy(33, {left.pose(), right.pose()});
    EXPECT_GT(changed.leftDeltaY, 0.01f);
    EXPECT_LT(changed.leftDeltaY, 0.05f);
    EXPECT_EQ(changed.rightDeltaY, 0);
}

TEST_F(TwoHandPinchRecognizerTest, ARightHandTwiceAsLargeGivesADepthYawOfLn2) {
    right.size = 2 * left.size;
    frame(33, {left.pose(), right.pose()});
    const auto changed = changedBy(33, {left.pose(), right.pose()});
    EXPECT_NEAR(changed.yawStartRadians, 0.6931f, 1e-4);
    EXPECT_NEAR(changed.yawRadians, 0.6931f, 1e-4);
}

TEST_F(TwoHandPinchRecognizerTest, TheYawFollowsTheSizesWhileTheStartStays) {
    frame(33, {left.pose(), right.pose()});
    left.size = 0.4f;
    left.ratio = 0.1f;
    const auto changed = settledBy({left.pose(), right.pose()});
    EXPECT_EQ(changed.yawStartRadians, 0);
    EXPECT_NEAR(changed.yawRadians, -std::log(2.0f), 1e-3);
}

TEST_F(TwoHandPinchRecognizerTest, HandsThatBeganAtOnePlaceKeepTheScaleAtOne) {
    right.at = left.at + float2{0.00009f, 0};
    frame(33, {left.pose(), right.pose()});
    right.at = {0.9f, 0.5f};
    const auto changed = settledBy({left.pose(), right.pose()});
    EXPECT_EQ(changed.scaleRatio, 1);
    EXPECT_NEAR(changed.separation, 0.6f, 1e-3);
}

TEST_F(TwoHandPinchRecognizerTest, AfterADropOutTheStartIsTheOldOne) {
    right.size = 2 * left.size;
    frame(33, {left.pose(), right.pose()});
    const float2 start = left.at;
    frame(75, {right.pose()});
    frame(75, {right.pose()});
    EXPECT_TRUE(recognizer.isSessionActive());
    right.size = left.size;
    left.at.y += 0.2f;
    const auto changed = settledBy({left.pose(), right.pose()});
    EXPECT_NEAR(changed.yawStartRadians, 0.6931f, 1e-4);
    EXPECT_NEAR(changed.yawRadians, 0, 1e-3);
    EXPECT_NEAR(changed.leftDeltaY, left.at.y - start.y, 1e-3);
}

TEST_F(TwoHandPinchRecognizerTest, TheNextSessionStartsAfresh) {
    frame(33, {left.pose(), right.pose()});
    left.ratio = 0.8f;
    frame(33, {left.pose(), right.pose()});
    ASSERT_THAT(frame(200, {left.pose(), right.pose()}),
                ElementsAre(VariantWith<TwoHandPinchEnded>(testing::_)));
    left.ratio = 0.2f;
    left.at = {0.1f, 0.1f};
    right.at = {0.3f, 0.1f};
    right.size = 0.3f;
    EXPECT_THAT(frame(33, {left.pose(), right.pose()}),
                ElementsAre(VariantWith<TwoHandPinchBegan>(
                    testing::Field(&TwoHandPinchBegan::midpoint, (float2{0.2f, 0.1f})))));
    const auto changed = changedBy(33, {left.pose(), right.pose()});
    EXPECT_EQ(changed.scaleRatio, 1);
    EXPECT_NEAR(changed.yawStartRadians, std::log(1.5f), 1e-5);
}

// --- Which hands count ------------------------------------------------------------------------

TEST_F(TwoHandPinchRecognizerTest, AHandOfUnknownChiralityNeverTakesPart) {
    PinchHand unknown = right;
    unknown.chirality = Chirality::unknown;
    EXPECT_TRUE(frame(33, {left.pose(), unknown.pose()}).empty());
    EXPECT_TRUE(frame(33, {unknown.pose(), unknown.pose()}).empty());
    EXPECT_THAT(frame(33, {unknown.pose(), left.pose(), right.pose()}), SizeIs(1));
}

TEST_F(TwoHandPinchRecognizerTest, OfTwoHandsOfOneSideTheFirstCounts) {
    PinchHand open = right;
    open.ratio = 1;
    EXPECT_TRUE(frame(33, {left.pose(), open.pose(), right.pose()}).empty());
    EXPECT_THAT(frame(33, {left.pose(), right.pose(), open.pose()}), SizeIs(1));
}

TEST_F(TwoHandPinchRecognizerTest, EveryJointMustBeSureEnough) {
    struct Floor {
        HandLandmark landmark;
        float floor;
    };
    for (const Floor& needed :
         {Floor{HandLandmark::thumbTip, 0.3f}, Floor{HandLandmark::indexTip, 0.3f},
          Floor{HandLandmark::wrist, 0.1f}, Floor{HandLandmark::middleMCP, 0.1f}}) {
        const auto withPoint = [&](auto change) {
            HandPose pose = right.pose();
            HandPose::Point point = test::jointOf(pose, needed.landmark);
            change(point);
            pose.landmarks.set(needed.landmark, point);
            return pose;
        };
        EXPECT_TRUE(counts(withPoint([&](auto& point) { point.confidence = needed.floor; })));
        EXPECT_FALSE(counts(withPoint(
            [&](auto& point) { point.confidence = std::nextafter(needed.floor, 0.0f); })));
        EXPECT_FALSE(counts(withPoint([](auto& point) { point.x = NAN; })));
        EXPECT_FALSE(counts(withPoint([](auto& point) { point.y = INFINITY; })));
        EXPECT_FALSE(counts(withPoint([](auto& point) { point.confidence = NAN; })));
        HandPose missing = right.pose();
        missing.landmarks.erase(needed.landmark);
        EXPECT_FALSE(counts(missing));
    }
}

TEST_F(TwoHandPinchRecognizerTest, AHandWithoutSizeIsNotMeasured) {
    PinchHand tiny = right;
    tiny.ratio = 0;
    tiny.size = 0.00009f;
    EXPECT_FALSE(counts(tiny.pose()));
    tiny.size = 0.0002f;
    EXPECT_TRUE(counts(tiny.pose()));
}

TEST_F(TwoHandPinchRecognizerTest, AHandThatIsNotMeasuredNeitherOpensNorCloses) {
    frame(33, {left.pose(), right.pose()});
    PinchHand open = right;
    open.ratio = 1;
    open.confidence = 0.2f;
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(frame(100, {left.pose(), open.pose()}).empty());
    EXPECT_THAT(frame(33, {left.pose(), right.pose()}),
                ElementsAre(VariantWith<TwoHandPinchChanged>(testing::_)));
}

// --- Settings and surroundings ----------------------------------------------------------------

TEST_F(TwoHandPinchRecognizerTest, StartsWithTheLooserDefaults) {
    EXPECT_EQ(recognizer.parameters(), TwoHandPinchRecognizer::Parameters::defaults);
    EXPECT_EQ(recognizer.parameters().pinchEnterRatio, 0.4f);
    EXPECT_EQ(recognizer.parameters().pinchExitRatio, 0.65f);
    EXPECT_EQ(recognizer.parameters().landmarkConfidenceFloor, 0.3f);
    EXPECT_EQ(recognizer.dropoutGraceSeconds(), 0.2);
    EXPECT_FALSE(recognizer.isSessionActive());
}

TEST_F(TwoHandPinchRecognizerTest, ParametersAndGraceCanBeReplaced) {
    recognizer.setParameters(
        {.pinchEnterRatio = 0.1f, .pinchExitRatio = 0.25f, .landmarkConfidenceFloor = 0.95f});
    EXPECT_FALSE(counts(right.pose()));
    left.confidence = right.confidence = 1;
    EXPECT_FALSE(counts(right.pose()));
    left.ratio = right.ratio = 0.05f;
    EXPECT_TRUE(counts(right.pose()));
    recognizer.setDropoutGraceSeconds(0.5);
    EXPECT_EQ(recognizer.dropoutGraceSeconds(), 0.5);
    right.ratio = 1;
    EXPECT_TRUE(frame(499, {left.pose(), right.pose()}).empty());
    EXPECT_THAT(frame(1, {left.pose(), right.pose()}), SizeIs(1));
}

TEST_F(TwoHandPinchRecognizerTest, AGraceBelowZeroIsNone) {
    for (const double seconds : {-1.0, static_cast<double>(NAN)}) {
        recognizer.setDropoutGraceSeconds(seconds);
        EXPECT_EQ(recognizer.dropoutGraceSeconds(), 0);
    }
    frame(33, {left.pose(), right.pose()});
    right.ratio = 1;
    EXPECT_THAT(frame(0, {left.pose(), right.pose()}),
                ElementsAre(VariantWith<TwoHandPinchEnded>(testing::_)));
}

TEST_F(TwoHandPinchRecognizerTest, ResetEndsTheSessionWithoutAnEventAndOpensBothHands) {
    frame(33, {left.pose(), right.pose()});
    events.clear();
    recognizer.reset();
    EXPECT_TRUE(events.empty());
    EXPECT_FALSE(recognizer.isSessionActive());
    right.ratio = 0.5f;
    EXPECT_TRUE(frame(33, {left.pose(), right.pose()}).empty());
    right.ratio = 0.39f;
    EXPECT_THAT(frame(33, {left.pose(), right.pose()}),
                ElementsAre(VariantWith<TwoHandPinchBegan>(testing::_)));
}

TEST_F(TwoHandPinchRecognizerTest, TheCallbackMayResetTheRecognizer) {
    int told = 0;
    recognizer.setEventCallback([&](const TwoHandPinchEvent& event) {
        EXPECT_TRUE(std::holds_alternative<TwoHandPinchBegan>(event));
        EXPECT_TRUE(recognizer.isSessionActive());
        recognizer.reset();
        ++told;
    });
    frame(33, {left.pose(), right.pose()});
    frame(33, {left.pose(), right.pose()});
    EXPECT_EQ(told, 2);
}

TEST_F(TwoHandPinchRecognizerTest, WithoutACallbackTheSessionIsStillKnown) {
    recognizer.setEventCallback(nullptr);
    frame(33, {left.pose(), right.pose()});
    EXPECT_TRUE(recognizer.isSessionActive());
}

TEST_F(TwoHandPinchRecognizerTest, TheSessionIsLogged) {
    LogCapture log;
    frame(33, {left.pose(), right.pose()});
    for (int i = 0; i < 60; ++i)
        frame(33, {left.pose(), right.pose()});
    right.ratio = 1;
    frame(33, {left.pose(), right.pose()});
    frame(200, {left.pose(), right.pose()});
    ASSERT_THAT(log.lines(), SizeIs(4));
    EXPECT_EQ(log.lines()[0].message, "twohand .began midpoint=(0.500, 0.550) startDepthYaw=0.000 "
                                      "startSizes=(L:0.200 R:0.200) sep=0.412");
    const std::string changed = "twohand .changed depthYawΔ=0.000 sizes=(L:0.200 R:0.200) "
                                "sep=0.412 lΔY=0.000 rΔY=0.000";
    EXPECT_EQ(log.count(changed), 2u);
    EXPECT_EQ(log.lines()[3].message, "twohand .ended (left=true, right=false) afterGrace=true");
    for (const auto& line : log.lines()) {
        EXPECT_EQ(line.level, LogLevel::info);
        EXPECT_EQ(line.category, "TwoHandPinchRecognizer");
    }
}

TEST_F(TwoHandPinchRecognizerTest, EveryFrameIsOneSignpostInterval) {
    test::TracedScope trace;
    frame(33, {left.pose(), right.pose()});
    frame(33, {});
    const auto marks = trace.finish();
    ASSERT_THAT(marks, SizeIs(4));
    for (const auto& mark : marks)
        EXPECT_EQ(mark["name"], "twohand-process");
}

} // namespace
} // namespace lanternfly
