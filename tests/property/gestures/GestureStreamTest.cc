// What holds for any sequence of frames, however broken: the recognizers and the motion behind
// them, connected as in a presentation. A failure names its seed; the frames of a seed are always
// the same.
#include <cmath>

#include <gtest/gtest.h>

#include "base/Match.h"
#include "gestures/HandGestureRecognizer.h"
#include "gestures/PinchRecognizer.h"
#include "gestures/TwoHandPinchRecognizer.h"
#include "motion/PinchTransformController.h"
#include "motion/TwoHandScaleController.h"
#include "property/gestures/BrokenPresenter.h"
#include "support/LogCapture.h"

namespace lanternfly {
namespace {

using test::PinchHand;
using Chirality = HandPose::Chirality;

constexpr int framesPerSeed = 125'000;
constexpr uint32_t seeds = 8; // a million frames in all

// Began, changed …, ended: never two of an end in a row, never a change outside.
struct Session {
    bool isOpen = false;
    int begans = 0, changes = 0, ends = 0, eventsThisFrame = 0;

    void began() {
        EXPECT_FALSE(isOpen) << "began inside a pinch";
        isOpen = true;
        ++begans, ++eventsThisFrame;
    }
    void changed() {
        EXPECT_TRUE(isOpen) << "changed outside a pinch";
        ++changes, ++eventsThisFrame;
    }
    void ended() {
        EXPECT_TRUE(isOpen) << "ended outside a pinch";
        isOpen = false;
        ++ends, ++eventsThisFrame;
    }
    // The frames must have reached every state, else nothing was shown.
    void expectAllReached() const {
        EXPECT_GT(begans, framesPerSeed / 500);
        EXPECT_GT(changes, framesPerSeed / 20);
        EXPECT_GT(ends, framesPerSeed / 500);
    }
};

bool isPlace(float2 at) { // measured points lie within 8 picture widths
    return std::fabs(at.x) <= 8 && std::fabs(at.y) <= 8;
}
bool isNearPlace(float2 at) { // the prediction adds little
    return std::fabs(at.x) < 100 && std::fabs(at.y) < 100;
}
bool isYaw(float yaw) { // ln of 23 ÷ 0.0001 is 12
    return std::fabs(yaw) <= 15;
}

class GestureStream : public testing::TestWithParam<uint32_t> {
protected:
    GestureStream() {
        recognizer.setTelemetry(telemetry);
        recognizer.setEventCallback([this](const PinchEvent& event) { onPinch(event); });
        twoHands.setEventCallback([this](const TwoHandPinchEvent& event) { onTwoHands(event); });
        shapes.setEventCallback([this](HandGestureRecognizer::Event) {
            EXPECT_FALSE(controller.isSessionActive()) << "a sign during a pinch";
            EXPECT_TRUE(showsPeaceSign) << "a sign that nobody showed";
            ++signs;
        });
        controller.setOnSessionStarted([this] { shapes.setSuppressed(true); });
        controller.setOnSessionEnded([this] { shapes.setSuppressed(false); });
    }

    void onPinch(const PinchEvent& event) {
        match(
            event,
            [&](const PinchBegan& began) {
                pinch.began();
                EXPECT_TRUE(isNearPlace(began.at));
            },
            [&](const PinchChanged& changed) {
                pinch.changed();
                EXPECT_TRUE(isNearPlace(changed.at));
                EXPECT_TRUE(std::isfinite(changed.scaleDelta) && changed.scaleDelta > 0);
            },
            [&](const PinchEnded&) { pinch.ended(); });
        controller.handle(event);
        EXPECT_EQ(controller.isSessionActive(), pinch.isOpen);
    }

    void onTwoHands(const TwoHandPinchEvent& event) {
        match(
            event,
            [&](const TwoHandPinchBegan& began) {
                pair.began();
                EXPECT_TRUE(isPlace(began.midpoint));
                yawStart.reset();
            },
            [&](const TwoHandPinchChanged& changed) {
                pair.changed();
                EXPECT_TRUE(isPlace(changed.midpoint));
                EXPECT_TRUE(isYaw(changed.yawRadians) && isYaw(changed.yawStartRadians));
                EXPECT_TRUE(std::isfinite(changed.scaleRatio) && changed.scaleRatio >= 0);
                EXPECT_TRUE(isPlace({changed.leftDeltaY / 2, changed.rightDeltaY / 2}));
                EXPECT_TRUE(changed.separation >= 0 && changed.separation < 23);
                EXPECT_EQ(changed.yawStartRadians, yawStart.value_or(changed.yawStartRadians));
                yawStart = changed.yawStartRadians;
            },
            [&](const TwoHandPinchEnded&) { pair.ended(); });
        scaleController.handle(event);
        EXPECT_EQ(twoHands.isSessionActive(), pair.isOpen);
    }

    void frame(const std::vector<HandPose>& poses) {
        pinch.eventsThisFrame = pair.eventsThisFrame = 0;
        recognizer.process(poses);
        twoHands.process(poses);
        shapes.process(poses);
        EXPECT_LE(pinch.eventsThisFrame, 1);
        EXPECT_LE(pair.eventsThisFrame, 1);
        expectAPicture(driver->snapshot());
    }

    void expectAPicture(const OverlaySnapshot& snapshot) const {
        const auto& [transform, appearance, velocity] = snapshot;
        EXPECT_LE(std::fabs(transform.position.x), 1.2f);
        EXPECT_LE(std::fabs(transform.position.y), 1.2f);
        EXPECT_TRUE(transform.scale > 0.05f && transform.scale < 1.6f) << transform.scale;
        EXPECT_TRUE(appearance.opacity >= 0 && appearance.opacity <= 1);
        EXPECT_TRUE(appearance.blur >= 0 && appearance.blur <= 12);
        EXPECT_LE(std::fabs(appearance.tiltX), 2.51f);
        EXPECT_LE(std::fabs(appearance.tiltY), 2.51f);
        EXPECT_TRUE(std::isfinite(velocity.x) && std::isfinite(velocity.y));
    }

    const test::LogCapture quiet{LogLevel::error};
    ManualClock clock;
    std::shared_ptr<TrackingTelemetry> telemetry = std::make_shared<TrackingTelemetry>(clock);
    PinchRecognizer recognizer{clock};
    TwoHandPinchRecognizer twoHands{clock};
    HandGestureRecognizer shapes{clock};
    std::shared_ptr<AppearanceDriver> driver =
        std::make_shared<AppearanceDriver>(clock, OverlayTransform::day4Default, 0.3);
    PinchTransformController controller{clock, driver};
    TwoHandScaleController scaleController{driver};

    Session pinch, pair;
    std::optional<float> yawStart;
    int signs = 0;
    bool showsPeaceSign = false;
};

TEST_P(GestureStream, AnyFramesGiveWellFormedFiniteEvents) {
    test::BrokenPresenter presenter(GetParam(), clock);
    for (int i = 0; i < framesPerSeed; ++i) {
        const auto& next = presenter.next();
        showsPeaceSign = next.showsPeaceSign;
        frame(next.poses);
        ASSERT_FALSE(HasFailure()) << "seed " << GetParam() << ", frame " << i;
    }
    pinch.expectAllReached();
    pair.expectAllReached();
    EXPECT_GT(signs, framesPerSeed / 2000);
    const auto confidence = telemetry->readout().landmarkConfidence;
    ASSERT_TRUE(confidence);
    EXPECT_TRUE(std::isfinite(*confidence));
    if (const auto latency = controller.latencyReadout()) {
        EXPECT_TRUE(std::isfinite(latency->instantMs) && std::isfinite(latency->smoothedMs));
    }
}

TEST_P(GestureStream, AfterAnyFramesCalmHandsWorkAgain) {
    test::BrokenPresenter presenter(GetParam(), clock);
    for (int i = 0; i < 1000; ++i) {
        showsPeaceSign = true;
        frame(presenter.next().poses);
    }
    recognizer.reset();
    twoHands.reset();
    controller.reset();
    pinch = pair = {};
    for (int i = 0; i < 4; ++i) {
        clock.advance(0.03);
        frame({PinchHand{.chirality = Chirality::left}.pose(),
               PinchHand{.chirality = Chirality::right}.pose()});
    }
    EXPECT_EQ(pinch.begans, 1);
    EXPECT_EQ(pair.begans, 1);
}

INSTANTIATE_TEST_SUITE_P(Seeds, GestureStream, testing::Range(1u, seeds + 1));

} // namespace
} // namespace lanternfly
