// What ink costs before it is drawn: publishing it and turning it into triangles. A page full of
// writing is 50 strokes of 500 points.
#include <cmath>

#include <benchmark/benchmark.h>

#include "annotate/DrawController.h"
#include "render/LayerInk.h"

namespace lanternfly {
namespace {

constexpr DrawingViewport viewport{1920, 1080};

double2 onSpiral(int i) {
    const double angle = 0.05 * i, radius = 20 + 0.6 * i;
    return {960 + radius * std::cos(angle), 540 + radius * std::sin(angle)};
}

// A controller with this much ink, in drawing mode.
void draw(DrawController& controller, int strokes, int points) {
    controller.enterDrawMode();
    for (int stroke = 0; stroke < strokes; ++stroke) {
        controller.pointerBegan(onSpiral(0));
        for (int i = 1; i < points; ++i)
            controller.pointerMoved(onSpiral(i));
        controller.pointerEnded();
    }
}

void strokesAndPoints(benchmark::internal::Benchmark* bench) {
    bench->Args({5, 100})->Args({50, 500});
    bench->MeasureProcessCPUTime()->UseRealTime()->Unit(benchmark::kMicrosecond);
}

void tessellate(benchmark::State& state) {
    DrawController controller(viewport, "lyr_ink", "#FFFFFFE6", 8);
    draw(controller, static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    const auto layers = std::make_shared<const std::vector<Layer>>(1, *controller.currentLayer());
    int64_t vertices = 0;
    for (auto _ : state) {
        const LayerInk ink(layers, {});
        vertices = 0;
        for (const StrokeBatchRef& batch : *ink.batches())
            vertices += batch->triangleStripVertexCount;
    }
    state.counters["vertices"] = static_cast<double>(vertices);
}
BENCHMARK(tessellate)->Apply(strokesAndPoints);

// One tick while all of it unwrites: every stroke is shortened and the layer published.
void publishWhileUnwriting(benchmark::State& state) {
    DrawController controller(viewport, "lyr_ink", "#FFFFFFE6", 8);
    draw(controller, static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    controller.exitDrawMode();
    controller.setUnwriteMinSeconds(1e9);
    controller.setUnwriteMaxSeconds(1e9);
    controller.tick(4);
    controller.setOnLayerUpdate(
        [](const std::optional<Layer>& layer) { benchmark::DoNotOptimize(&layer); });
    for (auto _ : state)
        controller.tick(1.0 / 30);
}
BENCHMARK(publishWhileUnwriting)->Apply(strokesAndPoints);

} // namespace
} // namespace lanternfly
