// Frames with a page full of ink, 50 strokes of 500 points at 1080p on the processor: every frame
// is composited over a camera picture, whose own cost is the first row.
#include <cmath>
#include <cstring>

#include <benchmark/benchmark.h>

#include "annotate/DrawController.h"
#include "gpu/cpu/CpuDevice.h"
#include "render/FrameCompositor.h"
#include "render/LayerRenderer.h"

namespace lanternfly {
namespace {

constexpr int width = 1920;
constexpr int height = 1080;
constexpr int strokeCount = 50;
constexpr int pointCount = 500;
constexpr double frameSeconds = 1.0 / 30;

double2 onScribble(int stroke, int point) {
    const double t = point / (pointCount - 1.0);
    return {60 + 20.0 * stroke + 500 * t + 20 * std::sin(20 * t),
            90 + 18.0 * stroke + 80 * std::sin(9 * t + stroke)};
}

constexpr DrawingViewport viewport{width, height};

Layer scribbled(double shiftPX) {
    DrawingContent content{.viewport = viewport};
    for (int i = 0; i < strokeCount; ++i) {
        Stroke stroke{.color = "#FFD23FE6", .width = 7, .points = {}};
        for (int point = 0; point < pointCount; ++point) {
            const double2 at = onScribble(i, point);
            stroke.points.push_back({at.x + shiftPX, at.y});
        }
        content.strokes.push_back(std::move(stroke));
    }
    return {.id = "lyr_ink", .kind = LayerKind::drawing, .content = std::move(content)};
}

std::vector<StrokeBatch> tessellated(const Layer& layer) {
    std::vector<StrokeBatch> batches;
    for (const Stroke& stroke : std::get<DrawingContent>(layer.content).strokes)
        batches.emplace_back(
            StrokeGeometry::tessellate(stroke, StrokeGeometry::InkProfile::studioDraw, 0, false),
            viewport);
    return batches;
}

// Several threads work on a frame: the processor time is that of all, and the time that passes is
// shown beside it.
void wholeProcess(benchmark::internal::Benchmark* bench) {
    bench->MeasureProcessCPUTime()->UseRealTime()->Unit(benchmark::kMillisecond);
}

struct Canvas {
    Canvas() { std::memset(camera->data(), 110, camera->strideBytes() * height); }
    void frame() {
        benchmark::DoNotOptimize(compositor->composite(camera, false, FullComposition{}, 0));
    }
    void show(const std::optional<Layer>& layer) {
        std::vector<Layer> layers;
        if (layer) layers.push_back(*layer);
        renderer.setLayers(std::move(layers), 16.0f / 9);
    }
    void drawAll() {
        controller.setOnLayerUpdate(nullptr);
        controller.enterDrawMode();
        for (int stroke = 0; stroke < strokeCount; ++stroke) {
            controller.pointerBegan(onScribble(stroke, 0));
            for (int i = 1; i < pointCount; ++i)
                controller.pointerMoved(onScribble(stroke, i));
        }
        controller.pointerEnded();
        controller.setOnLayerUpdate([this](const auto& layer) { show(layer); });
        show(controller.currentLayer());
    }

    std::shared_ptr<FrameCompositor> compositor =
        FrameCompositor::create(CpuDevice::create(), width, height);
    LayerRenderer renderer{compositor};
    DrawController controller{viewport, "lyr_ink", "#FFD23FE6", 7};
    PixelBufferRef camera = PixelBuffer::create(width, height);
};

void frameWithoutInk(benchmark::State& state) {
    Canvas canvas;
    for (auto _ : state)
        canvas.frame();
}
BENCHMARK(frameWithoutInk)->Apply(wholeProcess);

// A page full of ink that was not there before, in every frame: 50 strokes of 500 points are handed
// over, smoothed, tessellated and drawn.
void frameOfFiftyNewStrokes(benchmark::State& state) {
    Canvas canvas;
    const std::vector<Layer> pages[] = {{scribbled(0)}, {scribbled(1)}};
    size_t page = 0;
    for (auto _ : state) {
        canvas.renderer.setLayers(pages[++page % 2], 16.0f / 9);
        canvas.frame();
    }
}
BENCHMARK(frameOfFiftyNewStrokes)->Apply(wholeProcess);

// The same without layers and without smoothing.
void frameTessellatedAnew(benchmark::State& state) {
    Canvas canvas;
    const Layer pages[] = {scribbled(0), scribbled(1)};
    size_t page = 0;
    for (auto _ : state) {
        canvas.compositor->setStrokeBatches(tessellated(pages[++page % 2]));
        canvas.frame();
    }
}
BENCHMARK(frameTessellatedAnew)->Apply(wholeProcess);

void frameWithCommittedInk(benchmark::State& state) {
    Canvas canvas;
    canvas.drawAll();
    for (auto _ : state)
        canvas.frame();
}
BENCHMARK(frameWithCommittedInk)->Apply(wholeProcess);

// One more stroke grows by a point a frame, to 300 points and then anew.
void frameWhileDrawing(benchmark::State& state) {
    Canvas canvas;
    canvas.drawAll();
    const auto at = [](int point) { return onScribble(20, point) + double2{300, 300}; };
    int point = 0;
    for (auto _ : state) {
        if (point % 300 == 0) {
            state.PauseTiming();
            canvas.controller.clearAll();
            canvas.drawAll();
            canvas.controller.pointerBegan(at(0));
            state.ResumeTiming();
        }
        canvas.controller.pointerMoved(at(++point % 300));
        canvas.frame();
    }
}
BENCHMARK(frameWhileDrawing)->Apply(wholeProcess);

// All of it unwrites at once, none of it noticeably shorter yet.
void frameWhileUnwriting(benchmark::State& state) {
    Canvas canvas;
    canvas.drawAll();
    canvas.controller.exitDrawMode();
    canvas.controller.setUnwriteMinSeconds(1e5);
    canvas.controller.setUnwriteMaxSeconds(1e5);
    canvas.controller.tick(4);
    for (auto _ : state) {
        canvas.controller.tick(frameSeconds);
        canvas.frame();
    }
}
BENCHMARK(frameWhileUnwriting)->Apply(wholeProcess);

} // namespace
} // namespace lanternfly
