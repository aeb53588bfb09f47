#include "app/OverlayRouting.h"

#include <gtest/gtest.h>

#include "support/Hands.h"

namespace lanternfly {
namespace {

using Chirality = HandPose::Chirality;
using test::PinchHand;

constexpr double frameSeconds = 1.0 / 30;
constexpr int framesToPinch = 4, framesToLetGo = 4;

struct OverlayRoutingTest : testing::Test {
    ManualClock clock;
    std::shared_ptr<AppearanceDriver> driver =
        std::make_shared<AppearanceDriver>(clock, OverlayTransform{{0.2f, 0.1f}, 0.4f, 1}, 0.3);
    PinchRecognizer pinches{clock};
    TwoHandPinchRecognizer twoHandPinches{clock};
    HandGestureRecognizer signs{clock};
    PinchTransformController slide{clock, driver};
    TwoHandScaleController slideScale{driver};
    DrawController ink{{1000, 500}, "ink", "#FFFFFF", 5};
    OverlayRouting routing{{.clock = clock,
                            .pinches = pinches,
                            .twoHandPinches = twoHandPinches,
                            .signs = signs,
                            .slide = slide,
                            .slideScale = slideScale,
                            .ink = ink,
                            .viewport = {1000, 500}}};
    int signsSeen = 0;
    std::vector<bool> pinching;
    std::vector<PinchEvent> modelPinches;
    std::vector<TwoHandPinchEvent> modelTwoHandPinches;
    int64_t frame = 0;

    OverlayRoutingTest() {
        routing.setReceivers(
            {.onSign = [this](HandSign) { ++signsSeen; },
             .onPinching = [this](bool isPinching) { pinching.push_back(isPinching); },
             .onModelPinch = [this](const PinchEvent& event) { modelPinches.push_back(event); },
             .onModelTwoHandPinch =
                 [this](const TwoHandPinchEvent& event) { modelTwoHandPinches.push_back(event); }});
    }
    void see(const std::vector<HandPose>& poses, int frames = 1) {
        for (int i = 0; i < frames; ++i) {
            clock.advance(frameSeconds);
            routing.enterFrame(frame, MediaTime::make(frame, 30));
            ++frame;
            routing.onPoses(poses);
        }
    }
    static HandPose hand(float2 at, float ratio, Chirality side = Chirality::right) {
        return PinchHand{.chirality = side, .at = at, .ratio = ratio}.pose();
    }
    static HandPose closed(float2 at) { return hand(at, 0.1f); }
    static HandPose open(float2 at) { return hand(at, 1.5f); }
    void pinchAt(float2 at) { see({closed(at)}, framesToPinch); }
    void letGoAt(float2 at) { see({open(at)}, framesToLetGo); }
    static std::vector<HandPose> bothAt(float2 left, float2 right, float ratio = 0.1f) {
        return {hand(left, ratio, Chirality::left), hand(right, ratio, Chirality::right)};
    }
    float2 position() const { return driver->currentTransform().position; }
    float scale() const { return driver->currentTransform().scale; }
};

// --- Slide mode ----------------------------------------------------------------------------------

TEST_F(OverlayRoutingTest, APinchCarriesTheSlide) {
    pinchAt({0.5f, 0.5f});
    EXPECT_TRUE(slide.isSessionActive());
    see({closed({0.6f, 0.5f})}, 30);
    EXPECT_NEAR(position().x, 0.3, 0.01);
    letGoAt({0.6f, 0.5f});
    EXPECT_FALSE(slide.isSessionActive());
    EXPECT_EQ(pinching, (std::vector{true, false}));
    EXPECT_EQ(routing.tally().pinches.size(), 2u);
    EXPECT_EQ(ink.currentLayer(), std::nullopt);
    EXPECT_TRUE(modelPinches.empty());
}

TEST_F(OverlayRoutingTest, ALockedSlideIgnoresPinchesButOneThatHoldsItGoesOn) {
    routing.setLocked(true);
    pinchAt({0.5f, 0.5f});
    see({closed({0.7f, 0.5f})}, 10);
    EXPECT_EQ(position(), float2(0.2f, 0.1f));
    routing.setLocked(false);
    see({closed({0.8f, 0.5f})}, 10);
    EXPECT_EQ(position(), float2(0.2f, 0.1f)) << "the pinch began on a locked slide";
    letGoAt({0.8f, 0.5f});
    pinchAt({0.5f, 0.5f});
    routing.setLocked(true);
    see({closed({0.6f, 0.5f})}, 30);
    EXPECT_NEAR(position().x, 0.3, 0.01);
}

TEST_F(OverlayRoutingTest, WhoMovesTheSlideTakesItOutOfTheHand) {
    pinchAt({0.5f, 0.5f});
    routing.dropSlide();
    driver->setTransformTarget({{0, 0}, 0.6f, 1}, 0);
    see({closed({0.9f, 0.9f})}, 10);
    EXPECT_EQ(position(), float2(0, 0));
    letGoAt({0.9f, 0.9f});
    EXPECT_EQ(position(), float2(0, 0));
    pinchAt({0.5f, 0.5f});
    EXPECT_TRUE(slide.isSessionActive());
}

TEST_F(OverlayRoutingTest, BothHandsScaleTheSlideAndTakeItFromTheOneThatHeldIt) {
    pinchAt({0.5f, 0.5f});
    EXPECT_TRUE(slide.isSessionActive());
    see(bothAt({0.3f, 0.5f}, {0.5f, 0.5f}), 2);
    EXPECT_FALSE(slide.isSessionActive());
    EXPECT_TRUE(slideScale.isSessionActive());
    const float2 before = position();
    see(bothAt({0.2f, 0.5f}, {0.6f, 0.5f}), 60);
    EXPECT_NEAR(scale(), 0.8, 0.02);
    EXPECT_EQ(position(), before);
    see(bothAt({0.2f, 0.5f}, {0.6f, 0.5f}, 1.5f), 10);
    EXPECT_FALSE(slideScale.isSessionActive());
    pinchAt({0.5f, 0.5f});
    EXPECT_TRUE(slide.isSessionActive());
}

TEST_F(OverlayRoutingTest, APinchThatBeginsWhileBothHoldTheSlideHasToBeginAgain) {
    see(bothAt({0.3f, 0.5f}, {0.7f, 0.5f}), 10);
    EXPECT_TRUE(slideScale.isSessionActive());
    EXPECT_FALSE(slide.isSessionActive());
    EXPECT_EQ(pinching, (std::vector{true}));
}

// --- Drawing mode --------------------------------------------------------------------------------

TEST_F(OverlayRoutingTest, APinchDrawsWhereTheOutputShowsIt) {
    for (const bool isMirrored : {false, true}) {
        ink.clearAll();
        routing.setMirrored(isMirrored);
        routing.setMode(HostMode::drawing);
        pinchAt({0.25f, 0.75f});
        const auto layer = ink.currentLayer();
        ASSERT_TRUE(layer);
        const auto& drawing = std::get<DrawingContent>(layer->content);
        ASSERT_EQ(drawing.strokes.size(), 1u);
        const auto& first = drawing.strokes[0].points.front();
        EXPECT_NEAR(first[0], isMirrored ? 750 : 250, 1);
        EXPECT_NEAR(first[1], 125, 1);
        see({closed({0.5f, 0.5f})}, 30);
        letGoAt({0.5f, 0.5f});
        EXPECT_EQ(ink.committedStrokeCount(), 1);
        const auto whole = *ink.currentLayer();
        const auto& last = std::get<DrawingContent>(whole.content).strokes[0].points.back();
        EXPECT_NEAR(last[0], 500, 1);
        EXPECT_NEAR(last[1], 250, 1);
    }
    EXPECT_FALSE(slide.isSessionActive());
    EXPECT_EQ(position(), float2(0.2f, 0.1f));
}

TEST_F(OverlayRoutingTest, ALockedSlideCanBeDrawnOn) {
    routing.setLocked(true);
    routing.setMode(HostMode::drawing);
    pinchAt({0.25f, 0.75f});
    EXPECT_TRUE(ink.currentLayer());
}

TEST_F(OverlayRoutingTest, BothHandsDoNothingToTheSlideThatIsDrawnOn) {
    routing.setMode(HostMode::drawing);
    see(bothAt({0.3f, 0.5f}, {0.7f, 0.5f}), 5);
    see(bothAt({0.2f, 0.5f}, {0.8f, 0.5f}), 20);
    EXPECT_FLOAT_EQ(scale(), 0.4f);
    EXPECT_TRUE(ink.currentLayer());
    EXPECT_FALSE(routing.visibleHands().left);
}

// --- A change of mode in mid-pinch ---------------------------------------------------------------

struct ModeChange {
    HostMode from, to;
};
class MidPinch : public OverlayRoutingTest, public testing::WithParamInterface<ModeChange> {};

TEST_P(MidPinch, AChangeOfModeEndsWhatThePinchHeldAndGivesItNothingNew) {
    const auto [from, to] = GetParam();
    routing.setMode(from);
    pinchAt({0.4f, 0.4f});
    EXPECT_EQ(slide.isSessionActive(), from == HostMode::slide || from == HostMode::typing);
    EXPECT_EQ(ink.currentLayer().has_value(), from == HostMode::drawing);
    EXPECT_EQ(!modelPinches.empty(), from == HostMode::model);

    routing.setMode(to);
    EXPECT_FALSE(slide.isSessionActive());
    EXPECT_EQ(ink.isModeActive(), to == HostMode::drawing);
    EXPECT_EQ(ink.committedStrokeCount(), from == HostMode::drawing ? 1 : 0) << "pointer up";
    if (from == HostMode::model) {
        EXPECT_TRUE(std::holds_alternative<PinchEnded>(modelPinches.back()));
    }
    const auto before = position();
    const auto layer = ink.currentLayer();
    const size_t toldTheModel = modelPinches.size();
    clock.advance(1); // what glides has come to rest
    const auto rest = position();
    see({closed({0.7f, 0.7f})}, 10);
    letGoAt({0.7f, 0.7f});
    EXPECT_EQ(position(), rest) << before.x;
    EXPECT_EQ(ink.currentLayer(), layer);
    EXPECT_EQ(modelPinches.size(), toldTheModel);
    EXPECT_EQ(pinching, (std::vector{true, false}));

    pinchAt({0.4f, 0.4f});
    EXPECT_EQ(slide.isSessionActive(), to == HostMode::slide || to == HostMode::typing);
}

std::vector<ModeChange> allChanges() {
    std::vector<ModeChange> changes;
    for (const auto& from : hostModeNames)
        for (const auto& to : hostModeNames)
            if (from.value != to.value) changes.push_back({from.value, to.value});
    return changes;
}
INSTANTIATE_TEST_SUITE_P(AllModes, MidPinch, testing::ValuesIn(allChanges()));

TEST_F(OverlayRoutingTest, TheSameModeAgainChangesNothing) {
    pinchAt({0.5f, 0.5f});
    routing.setMode(HostMode::slide);
    EXPECT_TRUE(slide.isSessionActive());
}

TEST_F(OverlayRoutingTest, AChangeOfModeEndsWhatBothHandsHeld) {
    routing.setMode(HostMode::model);
    see(bothAt({0.3f, 0.5f}, {0.7f, 0.5f}), 3);
    ASSERT_FALSE(modelTwoHandPinches.empty());
    routing.setMode(HostMode::slide);
    EXPECT_TRUE(std::holds_alternative<TwoHandPinchEnded>(modelTwoHandPinches.back()));
    const size_t told = modelTwoHandPinches.size();
    see(bothAt({0.2f, 0.5f}, {0.8f, 0.5f}), 10);
    EXPECT_EQ(modelTwoHandPinches.size(), told);
    EXPECT_FLOAT_EQ(scale(), 0.4f);
}

// --- The model -----------------------------------------------------------------------------------

TEST_F(OverlayRoutingTest, TheModelGetsPinchesOfOneHandAndOfBoth) {
    routing.setMode(HostMode::model);
    pinchAt({0.5f, 0.5f});
    ASSERT_FALSE(modelPinches.empty());
    EXPECT_TRUE(std::holds_alternative<PinchBegan>(modelPinches.front()));
    see(bothAt({0.3f, 0.5f}, {0.5f, 0.5f}), 3);
    ASSERT_FALSE(modelTwoHandPinches.empty());
    EXPECT_TRUE(std::holds_alternative<TwoHandPinchBegan>(modelTwoHandPinches.front()));
    EXPECT_TRUE(std::holds_alternative<PinchEnded>(modelPinches.back()));
    EXPECT_FALSE(slide.isSessionActive());
}

TEST_F(OverlayRoutingTest, ALockedModelStaysAsItIs) {
    routing.setMode(HostMode::model);
    routing.setLocked(true);
    see(bothAt({0.3f, 0.5f}, {0.5f, 0.5f}), 10);
    EXPECT_TRUE(modelPinches.empty());
    EXPECT_TRUE(modelTwoHandPinches.empty());
}

// --- Hands that vanish ---------------------------------------------------------------------------

TEST_F(OverlayRoutingTest, APinchOfBothHandsEndsWhenBothHaveVanished) {
    see(bothAt({0.3f, 0.5f}, {0.7f, 0.5f}), 5);
    see({}, 5); // a drop-out
    EXPECT_TRUE(twoHandPinches.isSessionActive());
    see(bothAt({0.3f, 0.5f}, {0.7f, 0.5f}), 1);
    EXPECT_TRUE(slideScale.isSessionActive());
    see({}, 8); // more than the grace of 0.2 s
    EXPECT_FALSE(twoHandPinches.isSessionActive());
    EXPECT_FALSE(twoHandPinches.isPinching(Chirality::left));
    EXPECT_FALSE(slideScale.isSessionActive());
}

// --- Signs ---------------------------------------------------------------------------------------

TEST_F(OverlayRoutingTest, AHeldSignIsToldOnce) {
    see({test::peaceSignHand()}, 20);
    EXPECT_EQ(signsSeen, 1);
}

TEST_F(OverlayRoutingTest, SignsAreNotSeenWhileAHandPinchesWhateverItHolds) {
    for (const auto& [mode, name] : hostModeNames) {
        routing.setMode(mode);
        routing.setLocked(mode == HostMode::typing);
        see({closed({0.5f, 0.5f})}, framesToPinch);
        see({closed({0.5f, 0.5f}), test::peaceSignHand()}, 20);
        EXPECT_EQ(signsSeen, 0) << name;
        letGoAt({0.5f, 0.5f});
    }
    see({test::peaceSignHand()}, 20);
    EXPECT_EQ(signsSeen, 1);
}

TEST_F(OverlayRoutingTest, SignsAreNotSeenWhileBothHandsPinch) {
    // Loose enough for both hands, too loose for one.
    const auto both = bothAt({0.3f, 0.5f}, {0.7f, 0.5f}, 0.38f);
    see(both, 5);
    EXPECT_TRUE(pinching.empty());
    auto withSign = both;
    withSign.push_back(test::peaceSignHand());
    see(withSign, 20);
    EXPECT_EQ(signsSeen, 0);
}

// --- Hints ---------------------------------------------------------------------------------------

TEST_F(OverlayRoutingTest, TellsWhereBothHandsAreAndWhichPinches) {
    see({hand({0.3f, 0.5f}, 0.1f, Chirality::left), hand({0.7f, 0.6f}, 1.5f)}, 1);
    const auto hands = routing.visibleHands();
    ASSERT_TRUE(hands.left && hands.right);
    EXPECT_NEAR(hands.left->at.x, 0.3, 1e-5);
    EXPECT_NEAR(hands.right->at.y, 0.6, 1e-5);
    EXPECT_TRUE(hands.left->isPinching);
    EXPECT_FALSE(hands.right->isPinching);
    see({}, 1);
    EXPECT_FALSE(routing.visibleHands().left);
}

} // namespace
} // namespace lanternfly
