// Every way from one state of a pinch to the next, row by row.
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Match.h"
#include "support/PinchRecognizerFixture.h"

namespace lanternfly {
namespace {

using testing::SizeIs;
using Chirality = HandPose::Chirality;

enum class Hands { none, pinched, between, open, unsure, otherHandPinched, otherHandOpen };
enum class Told { nothing, began, changed, ended, endedWithoutTime };

std::vector<HandPose> posesOf(Hands hands, const Clock& clock) {
    PinchHand hand{.pts = MediaTime::make(1, 30), .arrivedAtUptimeNanos = clock.uptimeNanos()};
    switch (hands) {
    case Hands::none:
        return {};
    case Hands::pinched:
        hand.ratio = 0.2f;
        break;
    case Hands::between:
        hand.ratio = 0.32f;
        break;
    case Hands::open:
        hand.ratio = 0.6f;
        break;
    case Hands::unsure:
        hand.confidence = 0.01f;
        break;
    case Hands::otherHandPinched:
        hand.chirality = Chirality::left;
        break;
    case Hands::otherHandOpen:
        hand.chirality = Chirality::left;
        hand.ratio = 0.6f;
        break;
    }
    return {hand.pose()};
}

Told toldBy(const std::vector<PinchEvent>& events) {
    if (events.empty()) return Told::nothing;
    EXPECT_THAT(events, SizeIs(1));
    return match(
        events.front(), [](const PinchBegan&) { return Told::began; },
        [](const PinchChanged&) { return Told::changed; },
        [](const PinchEnded& ended) {
            return ended == PinchEnded{} ? Told::endedWithoutTime : Told::ended;
        });
}

struct Moment {
    int afterMs;
    Hands hands;
    Told told;
};
struct Row {
    const char* name;
    std::vector<Moment> moments;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

class PinchStateTable : public testing::TestWithParam<Row> {};

TEST_P(PinchStateTable, Holds) {
    ManualClock clock;
    PinchRecognizer recognizer(clock, unfiltered());
    std::vector<PinchEvent> events;
    recognizer.setEventCallback([&](const PinchEvent& event) { events.push_back(event); });
    int index = 0;
    for (const Moment& moment : GetParam().moments) {
        clock.advanceNanos(static_cast<uint64_t>(moment.afterMs) * 1'000'000);
        events.clear();
        recognizer.process(posesOf(moment.hands, clock));
        EXPECT_EQ(toldBy(events), moment.told) << "moment " << index;
        ++index;
    }
}

// Began needs an arming frame and one 60 ms later; the rows below put that in front.
std::vector<Moment> pinching(std::vector<Moment> then) {
    std::vector<Moment> moments{{0, Hands::pinched, Told::nothing},
                                {60, Hands::pinched, Told::began}};
    moments.insert(moments.end(), then.begin(), then.end());
    return moments;
}
std::vector<Moment> releasing(std::vector<Moment> then) {
    auto moments = pinching({{33, Hands::open, Told::changed}});
    moments.insert(moments.end(), then.begin(), then.end());
    return moments;
}

INSTANTIATE_TEST_SUITE_P(
    Rows, PinchStateTable,
    testing::Values(
        Row{"IdleWithoutHandsStaysIdle",
            {{0, Hands::none, Told::nothing}, {100, Hands::none, Told::nothing}}},
        Row{"IdleWithAnOpenHandStaysIdle",
            {{0, Hands::open, Told::nothing}, {100, Hands::pinched, Told::nothing}}},
        Row{"IdleWithAnUnsureHandStaysIdle",
            {{0, Hands::unsure, Told::nothing}, {100, Hands::pinched, Told::nothing}}},
        Row{"IdleBetweenTheRatiosDoesNotArm",
            {{0, Hands::between, Told::nothing},
             {100, Hands::pinched, Told::nothing},
             {60, Hands::pinched, Told::began}}},
        Row{"BeganNeedsTheArmingHold",
            {{0, Hands::pinched, Told::nothing},
             {30, Hands::pinched, Told::nothing},
             {29, Hands::pinched, Told::nothing},
             {1, Hands::pinched, Told::began}}},
        Row{"BeganNeedsTwoFramesHoweverLate",
            {{500, Hands::pinched, Told::nothing}, {500, Hands::pinched, Told::began}}},
        Row{"ArmingWithoutItsHandIsIdle",
            {{0, Hands::pinched, Told::nothing},
             {30, Hands::none, Told::nothing},
             {30, Hands::pinched, Told::nothing},
             {60, Hands::pinched, Told::began}}},
        Row{"ArmingWithAnUnsureHandIsIdle",
            {{0, Hands::pinched, Told::nothing},
             {30, Hands::unsure, Told::nothing},
             {30, Hands::pinched, Told::nothing},
             {60, Hands::pinched, Told::began}}},
        Row{"ArmingAboveEnterIsIdle",
            {{0, Hands::pinched, Told::nothing},
             {30, Hands::between, Told::nothing},
             {30, Hands::pinched, Told::nothing},
             {60, Hands::pinched, Told::began}}},
        Row{"PinchingOutlivesALostHandForAShortTime",
            pinching({{1499, Hands::none, Told::nothing}, {1, Hands::pinched, Told::changed}})},
        Row{"PinchingEndsWithoutItsHandAtTheHardTimeout",
            pinching({{1499, Hands::none, Told::nothing},
                      {1, Hands::none, Told::endedWithoutTime},
                      {33, Hands::none, Told::nothing}})},
        Row{"PinchingIsHeldByAnUnsureHandForGood",
            pinching({{1000, Hands::unsure, Told::nothing},
                      {10000, Hands::unsure, Told::nothing},
                      {10000, Hands::pinched, Told::changed}})},
        Row{"AnUnsureHandDoesNotRefreshTheHardTimeout",
            pinching({{1000, Hands::unsure, Told::nothing},
                      {500, Hands::none, Told::endedWithoutTime}})},
        Row{"PinchingChangesWithEveryMeasuredFrame",
            pinching({{33, Hands::pinched, Told::changed}, {33, Hands::pinched, Told::changed}})},
        Row{"PinchingBetweenTheRatiosKeepsPinching",
            pinching({{33, Hands::between, Told::changed}, {100, Hands::between, Told::changed}})},
        Row{"OpeningChangesOnceMoreAndStartsTheRelease", pinching({{33, Hands::open, Told::changed},
                                                                   {39, Hands::open, Told::nothing},
                                                                   {1, Hands::open, Told::ended}})},
        Row{"ReleasingComesBackAtEnterWithoutAnEvent",
            releasing({{39, Hands::pinched, Told::nothing}, {33, Hands::pinched, Told::changed}})},
        Row{"ReleasingComesBackEvenAfterTheHold",
            releasing({{100, Hands::pinched, Told::nothing}, {33, Hands::pinched, Told::changed}})},
        Row{"ReleasingDoesNotComeBackBetweenTheRatios",
            releasing({{20, Hands::between, Told::nothing}, {20, Hands::between, Told::ended}})},
        Row{"ReleasingWithoutItsHandEndsWithoutTime",
            releasing({{39, Hands::none, Told::nothing},
                       {1, Hands::none, Told::endedWithoutTime}})},
        Row{"ReleasingWithAnUnsureHandEndsAtItsTime",
            releasing({{39, Hands::unsure, Told::nothing}, {1, Hands::unsure, Told::ended}})},
        Row{"ReleasingEndsWithoutTimeWhenOnlyTheOtherHandIsSeen",
            releasing({{40, Hands::otherHandOpen, Told::endedWithoutTime}})},
        Row{"ReleasingComesBackWithAHandWhoseChiralityFlipped",
            releasing({{40, Hands::otherHandPinched, Told::nothing},
                       {33, Hands::pinched, Told::changed}})},
        Row{"ASingleHandMayFlipItsChirality",
            pinching({{33, Hands::otherHandPinched, Told::changed},
                      {33, Hands::pinched, Told::changed},
                      {33, Hands::otherHandPinched, Told::changed}})},
        Row{"AfterTheEndANewPinchArmsAgain", releasing({{40, Hands::open, Told::ended},
                                                        {33, Hands::pinched, Told::nothing},
                                                        {60, Hands::pinched, Told::began}})}),
    [](const auto& test) { return test.param.name; });

} // namespace
} // namespace lanternfly
