// A pinch recognizer that is shown one frame after the other.
#pragma once

#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gestures/PinchRecognizer.h"
#include "support/Hands.h"

namespace lanternfly {

using test::PinchHand;

// Filters that let every sample through, so that a test speaks of one frame at a time.
inline PinchRecognizer::Parameters unfiltered() {
    PinchRecognizer::Parameters parameters;
    parameters.positionFilterMinCutoff = 1e9f;
    parameters.sizeFilterMinCutoff = 1e9f;
    parameters.predictionSeconds = 0;
    return parameters;
}

class PinchRecognizerTest : public testing::Test {
protected:
    PinchRecognizerTest() : PinchRecognizerTest(unfiltered()) {}
    explicit PinchRecognizerTest(const PinchRecognizer::Parameters& parameters)
        : recognizer(clock, parameters) {
        recognizer.setEventCallback([this](const PinchEvent& event) { events.push_back(event); });
    }

    // One frame, `seconds` after the one before; returns its events.
    std::vector<PinchEvent> frame(double seconds, std::vector<HandPose> poses) {
        clock.advance(seconds);
        events.clear();
        recognizer.process(poses);
        return events;
    }
    // A hand of this very frame.
    HandPose seen(PinchHand hand) {
        hand.arrivedAtUptimeNanos = clock.uptimeNanos();
        hand.pts = MediaTime::fromNanos(static_cast<int64_t>(clock.uptimeNanos()));
        return hand.pose();
    }
    void begin(PinchHand hand = {}) {
        frame(0.1, {hand.pose()});
        ASSERT_THAT(frame(0.06, {hand.pose()}),
                    testing::ElementsAre(testing::VariantWith<PinchBegan>(testing::_)));
    }

    ManualClock clock;
    PinchRecognizer recognizer;
    std::vector<PinchEvent> events;
};

} // namespace lanternfly
