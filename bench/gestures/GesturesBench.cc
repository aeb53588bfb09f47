// What one camera frame costs the recognizers. Target: under 2 µs a frame for one hand's pinch,
// under 5 µs for each of the others.
#include <cmath>

#include <benchmark/benchmark.h>

#include "gestures/HandGestureRecognizer.h"
#include "gestures/PinchRecognizer.h"
#include "gestures/TwoHandPinchRecognizer.h"

namespace lanternfly {
namespace {

HandPose hand(HandPose::Chirality chirality, float x, float ratio, uint64_t arrivedAtUptimeNanos) {
    HandPose pose;
    pose.chirality = chirality;
    pose.arrivedAtUptimeNanos = arrivedAtUptimeNanos;
    pose.landmarks.set(HandLandmark::wrist, {x, 0.2f, 0.9f});
    pose.landmarks.set(HandLandmark::middleMCP, {x, 0.4f, 0.9f});
    pose.landmarks.set(HandLandmark::thumbTip, {x - 0.1f * ratio, 0.5f, 0.9f});
    pose.landmarks.set(HandLandmark::indexTip, {x + 0.1f * ratio, 0.5f, 0.9f});
    return pose;
}

void oneEuroFilter(benchmark::State& state) {
    OneEuroFilter filter(1.5f, 0.05f, 1.0f);
    double seconds = 0;
    float value = 0;
    for (auto _ : state) {
        seconds += 0.033;
        value = 1 - value * 0.9f;
        benchmark::DoNotOptimize(filter.filter(value, seconds));
    }
}
BENCHMARK(oneEuroFilter);

// Two hands in sight, one of them pinching and moving: the dearest frame there is.
void pinchingFrame(benchmark::State& state) {
    ManualClock clock;
    PinchRecognizer recognizer(clock);
    recognizer.setTelemetry(std::make_shared<TrackingTelemetry>(clock));
    int64_t events = 0;
    recognizer.setEventCallback([&](const PinchEvent&) { ++events; });
    float phase = 0;
    HandPose poses[] = {hand(HandPose::Chirality::left, 0.2f, 1, 1),
                        hand(HandPose::Chirality::right, 0.5f, 0.2f, 1)};
    for (auto _ : state) {
        clock.advanceNanos(33'000'000);
        phase += 0.1f;
        poses[1] = hand(HandPose::Chirality::right, 0.5f + 0.2f * std::sin(phase), 0.2f,
                        clock.uptimeNanos());
        recognizer.process(poses);
    }
    state.counters["eventsPerFrame"] =
        static_cast<double>(events) / static_cast<double>(state.iterations());
}
BENCHMARK(pinchingFrame);

void idleFrame(benchmark::State& state) {
    ManualClock clock;
    PinchRecognizer recognizer(clock);
    const HandPose poses[] = {hand(HandPose::Chirality::left, 0.2f, 1, 1),
                              hand(HandPose::Chirality::right, 0.5f, 1, 1)};
    for (auto _ : state) {
        clock.advanceNanos(33'000'000);
        recognizer.process(poses);
    }
}
BENCHMARK(idleFrame);

// Both hands pinching and moving, with the signposts that the program always has.
void twoHandFrame(benchmark::State& state) {
    Logger::setMinimumLevel(LogLevel::warning);
    ManualClock clock;
    TwoHandPinchRecognizer recognizer(clock);
    int64_t events = 0;
    recognizer.setEventCallback([&](const TwoHandPinchEvent&) { ++events; });
    float phase = 0;
    for (auto _ : state) {
        clock.advanceNanos(33'000'000);
        phase += 0.1f;
        const float away = 0.2f * std::sin(phase);
        const HandPose poses[] = {hand(HandPose::Chirality::left, 0.3f - away, 0.2f, 1),
                                  hand(HandPose::Chirality::right, 0.7f + away, 0.2f, 1)};
        recognizer.process(poses);
    }
    state.counters["eventsPerFrame"] =
        static_cast<double>(events) / static_cast<double>(state.iterations());
}
BENCHMARK(twoHandFrame);

HandPose fingers(float x, float indexAndMiddle) {
    HandPose pose = hand(HandPose::Chirality::right, x, 1, 1);
    const auto finger = [&](HandLandmark pip, HandLandmark tip, float ratio) {
        pose.landmarks.set(pip, {x, 0.4f, 0.9f});
        pose.landmarks.set(tip, {x, 0.2f + 0.2f * ratio, 0.9f});
    };
    finger(HandLandmark::indexPIP, HandLandmark::indexTip, indexAndMiddle);
    finger(HandLandmark::middlePIP, HandLandmark::middleTip, indexAndMiddle);
    finger(HandLandmark::ringPIP, HandLandmark::ringTip, 0.9f);
    finger(HandLandmark::pinkyPIP, HandLandmark::pinkyTip, 0.9f);
    return pose;
}

// Two hands, each a peace sign for half a second, then a fist: all fingers are measured.
void peaceSignFrame(benchmark::State& state) {
    ManualClock clock;
    HandGestureRecognizer recognizer(clock);
    int64_t events = 0;
    recognizer.setEventCallback([&](HandGestureRecognizer::Event) { ++events; });
    const HandPose signs[] = {fingers(0.3f, 0.9f), fingers(0.7f, 1.8f)};
    const HandPose fists[] = {fingers(0.3f, 0.9f), fingers(0.7f, 0.9f)};
    int frame = 0;
    for (auto _ : state) {
        clock.advanceNanos(33'000'000);
        const bool isSign = ++frame % 30 < 15;
        recognizer.process(isSign ? signs : fists);
    }
    state.counters["eventsPerFrame"] =
        static_cast<double>(events) / static_cast<double>(state.iterations());
}
BENCHMARK(peaceSignFrame);

} // namespace
} // namespace lanternfly
