// What a frame and a pinch event cost.
#include <benchmark/benchmark.h>

#include "motion/PinchTransformController.h"

namespace lanternfly {

namespace {

void snapshotAtRest(benchmark::State& state) {
    ManualClock clock;
    AppearanceDriver driver(clock, OverlayTransform::day4Default, 0.4);
    for (auto _ : state) {
        clock.advanceNanos(16'666'667);
        benchmark::DoNotOptimize(driver.snapshot());
    }
}
BENCHMARK(snapshotAtRest);

void snapshotWhileAnimating(benchmark::State& state) {
    ManualClock clock;
    AppearanceDriver driver(clock, OverlayTransform::day4Default, 0.4);
    driver.setTransformTarget({{0.3f, 0.1f}, 0.8f, 1}, 1e6);
    for (auto _ : state) {
        clock.advanceNanos(16'667);
        benchmark::DoNotOptimize(driver.snapshot());
    }
}
BENCHMARK(snapshotWhileAnimating);

void handleChanged(benchmark::State& state) {
    ManualClock clock;
    const auto driver =
        std::make_shared<AppearanceDriver>(clock, OverlayTransform::day4Default, 0.4);
    PinchTransformController controller(clock, driver);
    controller.handle(PinchBegan{{0.5f, 0.5f}, {}, 0});
    PinchChanged changed{{0.5f, 0.5f}, 1.1f, {}, 1};
    bool right = false;
    for (auto _ : state) {
        clock.advanceNanos(33'333'333); // 7 substeps of the spring
        changed.at.x = (right = !right) ? 0.55f : 0.45f;
        controller.handle(changed);
    }
}
BENCHMARK(handleChanged);

} // namespace

} // namespace lanternfly
