// A presenter from a bad dream: hands that vanish and swap sides, joints that are missing or no
// numbers, a clock that stands or jumps.
// Threads: value; it moves the clock.
#pragma once

#include <limits>
#include <random>

#include "base/Clock.h"
#include "support/Hands.h"

namespace lanternfly::test {

// What goes wrong in frames of any recognizer.
class FrameBreaker {
public:
    FrameBreaker(uint32_t seed, ManualClock& clock) : _random(seed), _clock(clock) {}

    bool chance(double probability) { return std::bernoulli_distribution(probability)(_random); }
    size_t pick(size_t count) {
        return std::uniform_int_distribution<size_t>(0, count - 1)(_random);
    }
    float real(float low, float high) {
        return std::uniform_real_distribution<float>(low, high)(_random);
    }

    // Mostly a camera frame forward; now and then not at all, far, or back.
    void moveClock() {
        if (chance(0.05)) return;
        if (chance(0.03))
            _clock.set(_clock.uptimeNanos() - 1'000'000 * pick(3000));
        else if (chance(0.03))
            _clock.advanceNanos(1'000'000 * pick(3000));
        else
            _clock.advanceNanos(1'000'000 * (20 + pick(30)));
    }

    // Mostly now.
    uint64_t arrival() {
        constexpr uint64_t odd[] = {0, 1, std::numeric_limits<uint64_t>::max()};
        return chance(0.9) ? _clock.uptimeNanos() : odd[pick(3)];
    }

    // Takes a joint away that pinches are measured by, or makes a number of it absurd.
    void breakJoint(HandPose& pose) {
        constexpr HandLandmark measured[] = {HandLandmark::thumbTip, HandLandmark::indexTip,
                                             HandLandmark::wrist, HandLandmark::middleMCP};
        constexpr float odd[] = {
            std::numeric_limits<float>::quiet_NaN(),  std::numeric_limits<float>::infinity(),
            -std::numeric_limits<float>::infinity(),  std::numeric_limits<float>::max(),
            std::numeric_limits<float>::denorm_min(), -1e20f};
        const HandLandmark landmark = measured[pick(4)];
        HandPose::Point point = jointOf(pose, landmark);
        switch (pick(4)) {
        case 0:
            pose.landmarks.erase(landmark);
            return;
        case 1:
            point.x = odd[pick(6)];
            break;
        case 2:
            point.y = odd[pick(6)];
            break;
        case 3:
            point.confidence = odd[pick(6)];
            break;
        }
        pose.landmarks.set(landmark, point);
    }

private:
    std::mt19937 _random;
    ManualClock& _clock;
};

} // namespace lanternfly::test
