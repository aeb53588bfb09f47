// Processor time of the layers of a 1080p frame, of all threads.
#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "FrameReport.h"
#include "gpu/cpu/CpuDevice.h"
#include "render/FrameCompositor.h"
#include "support/Pictures.h"
#include "support/scenes/Scenes.h"

namespace lanternfly::bench {
namespace {

constexpr int width = 1920;
constexpr int height = 1080;

double cpuMs() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
}

// The median: a run that another process disturbed counts like any other.
double medianCpuMs(const std::function<void()>& body) {
    std::vector<double> times;
    for (int run = 0; run < 70; ++run) {
        const double start = cpuMs();
        body();
        if (run >= 10) times.push_back(cpuMs() - start);
    }
    const auto middle = times.begin() + static_cast<ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

// A shaded disc, 900 pixels across, in a clear frame.
PixelBufferRef discModel() {
    auto pixels = PixelBuffer::create(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const double distance = std::hypot(x + 0.5 - width / 2.0, y + 0.5 - height / 2.0);
            const double coverage = std::clamp(450.5 - distance, 0.0, 1.0);
            const auto channel = [&](double value) { return static_cast<int>(value * coverage); };
            test::setPixel(*pixels, x, y, channel(200 - distance / 4), channel(90), channel(60),
                           channel(255));
        }
    return pixels;
}

Stroke scribble(int index) {
    Stroke stroke{.color = "#FFD23FE6", .width = 7, .points = {}};
    for (int i = 0; i < 500; ++i) {
        const double t = i / 499.0;
        stroke.points.push_back({60 + 20.0 * index + 500 * t + 20 * std::sin(20 * t),
                                 90 + 18.0 * index + 80 * std::sin(9 * t + index)});
    }
    return stroke;
}

std::vector<Stroke> scribbles(int count) {
    std::vector<Stroke> strokes;
    for (int i = 0; i < count; ++i)
        strokes.push_back(scribble(i));
    return strokes;
}

std::vector<StrokeBatch> tessellated(const std::vector<Stroke>& strokes, int smoothingIterations) {
    std::vector<StrokeBatch> batches;
    for (const Stroke& stroke : strokes)
        batches.emplace_back(StrokeGeometry::tessellate(stroke,
                                                        StrokeGeometry::InkProfile::studioDraw,
                                                        smoothingIterations, false),
                             DrawingViewport{width, height});
    return batches;
}

class Bench {
public:
    Bench() {
        TextureOptions options;
        options.prefilteredLevels = true;
        slide = device->makeTexture(*test::slidePicture(2048, 1152), options);
        for (TextureRef& model : models)
            model = device->makeTexture(*discModel(), {});
        annotation = device->makeTexture(*test::annotationPicture(width, height), {});
    }

    void addPane() {
        compositor->setSlideTexture(slide, true);
        compositor->setTransform({{-0.1f, 0.05f}, 0.36f, 1});
        compositor->setAppearance({1, 0, 8, -14});
    }
    // A model is rendered anew for each frame, so nothing that is known of the last one helps.
    void addModel(float underlaySigma) {
        hasModel = true;
        compositor->setSpatialLevelMatch(0.1f, 0.85f, 0.25f);
        compositor->setSpatialLightWrap(0.005f, 0.25f);
        compositor->setSpatialEdgeSoftness(0.3f);
        compositor->setSpatialUnderlayBlurSigma(underlaySigma);
    }
    double frameCpuMs(CompositionMode mode = {}) {
        return medianCpuMs([&] {
            if (hasModel) compositor->setSpatialTexture(models[frame++ % 2]);
            compositor->composite(camera, false, mode, 0);
        });
    }

    std::shared_ptr<CpuDevice> device = CpuDevice::create();
    std::shared_ptr<FrameCompositor> compositor = FrameCompositor::create(device, width, height);
    PixelBufferRef camera = test::cameraScene(width, height);
    TextureRef slide, annotation;
    std::array<TextureRef, 2> models;
    bool hasModel = false;
    size_t frame = 0;
};

struct Row {
    const char* name;
    std::function<double()> measure;
};

const Row rows[] = {
    {"swap, slide fitted + camera pane",
     [] {
         Bench bench;
         bench.addPane();
         return bench.frameCpuMs(SwapComposition{SwapFillMode::fit});
     }},
    {"annotation",
     [] {
         Bench bench;
         bench.compositor->setAnnotationTexture(bench.annotation, true);
         return bench.frameCpuMs();
     }},
    {"model 900x900, finished",
     [] {
         Bench bench;
         bench.addModel(0);
         return bench.frameCpuMs();
     }},
    {"model 900x900, finished, underlay blur 80",
     [] {
         Bench bench;
         bench.addModel(80);
         return bench.frameCpuMs();
     }},
    {"50 strokes of 500 points, drawn",
     [] {
         Bench bench;
         bench.compositor->setStrokeBatches(tessellated(scribbles(50), 0));
         return bench.frameCpuMs();
     }},
    {"50 strokes of 500 points, smoothed, drawn",
     [] {
         Bench bench;
         bench.compositor->setStrokeBatches(tessellated(scribbles(50), 3));
         return bench.frameCpuMs();
     }},
    {"50 strokes of 500 points, tessellated",
     [] { return medianCpuMs([strokes = scribbles(50)] { tessellated(strokes, 0); }); }},
    {"50 strokes of 500 points, smoothed, tessellated",
     [] { return medianCpuMs([strokes = scribbles(50)] { tessellated(strokes, 3); }); }},
    {"everything at once",
     [] {
         Bench bench;
         bench.addPane();
         bench.compositor->setAppearance({1, 12, 8, -14});
         bench.addModel(80);
         bench.compositor->setAnnotationTexture(bench.annotation, true);
         bench.compositor->setStrokeBatches(tessellated(scribbles(20), 0));
         bench.compositor->setPinchIndicator({1});
         bench.compositor->setTwoHandDiscoverability({1, 1, {-0.3f, 0}, {0.3f, 0}});
         return bench.frameCpuMs();
     }},
};

} // namespace
} // namespace lanternfly::bench

int main(int argc, char** argv) {
    using namespace lanternfly::bench;
    const auto report = FrameReport::of(argc, argv);
    if (!report) return 2;
    for (const Row& row : rows)
        report->add(std::string(row.name) + ", 1080p", row.measure());
    return 0;
}
