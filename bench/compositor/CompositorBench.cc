// Processor time of one composited frame, by the clock of the compositing thread, beside a plain
// overlay by GStreamer and by ffmpeg in the same run.
#include <algorithm>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "FrameReport.h"
#include "OverlayPeers.h"
#include "gpu/cpu/CpuDevice.h"
#include "render/FrameCompositor.h"
#include "support/Pictures.h"

namespace lanternfly::bench {
namespace {

double threadCpuMs() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
}

struct Case {
    const char* name;
    int width, height;
    float scale;
    float backdropSigma = 0;
    float overlayBlur = 0;
    bool mirror = false;
    bool hasPane = true;
    bool isPeerCase = false;
    int cameraWidth = 0, cameraHeight = 0; // 0: as the frame
};

const Case cases[] = {
    {"camera 1080p", 1920, 1080, 0.36f, 0, 0, false, false},
    {"camera 1080p mirrored", 1920, 1080, 0.36f, 0, 0, true, false},
    {"720p camera in 1080p", 1920, 1080, 0.36f, 0, 0, false, false, false, 1280, 720},
    {"camera + tilted pane 0.36, 720p", 1280, 720, 0.36f},
    {"camera + tilted pane 0.36, 1080p", 1920, 1080, 0.36f, 0, 0, false, true, true},
    {"camera + tilted pane 0.36, 4K", 3840, 2160, 0.36f},
    {"frosted pane 0.36, 720p", 1280, 720, 0.36f, 12},
    {"frosted pane 0.36, 1080p", 1920, 1080, 0.36f, 12},
    {"frosted pane 0.36, 4K", 3840, 2160, 0.36f, 12},
    {"tilted pane 0.18, 1080p", 1920, 1080, 0.18f},
    {"tilted pane 0.50, 1080p", 1920, 1080, 0.50f},
    {"tilted pane 0.72, 1080p", 1920, 1080, 0.72f},
    {"camera blurred by 3, pane 0.36, 1080p", 1920, 1080, 0.36f, 0, 3},
    {"camera blurred by 12, pane 0.36, 1080p", 1920, 1080, 0.36f, 0, 12},
};

// The median: a frame that another process disturbed counts like any other.
double frameCpuMs(const Case& bench) {
    const auto device = CpuDevice::create();
    const auto compositor = FrameCompositor::create(device, bench.width, bench.height);
    TextureOptions options;
    options.prefilteredLevels = true;
    if (bench.hasPane)
        compositor->setSlideTexture(device->makeTexture(*test::slidePicture(2048, 1152), options),
                                    true);
    compositor->setTransform({{-0.1f, 0.05f}, bench.scale, 1});
    compositor->setAppearance({1, bench.overlayBlur, 8, -14});
    VisionOSTuning tuning;
    tuning.backdropBlurSigma = bench.backdropSigma;
    compositor->setTuning(tuning);
    const auto camera = bench.cameraWidth > 0
                            ? test::cameraScene(bench.cameraWidth, bench.cameraHeight)
                            : test::cameraScene(bench.width, bench.height);
    std::vector<double> times;
    for (int frame = 0; frame < 150; ++frame) {
        const double start = threadCpuMs();
        if (!compositor->composite(camera, bench.mirror, FullComposition{}, 0)) return 0;
        if (frame >= 10) times.push_back(threadCpuMs() - start);
    }
    std::nth_element(times.begin(), times.begin() + static_cast<ptrdiff_t>(times.size() / 2),
                     times.end());
    return times[times.size() / 2];
}

} // namespace
} // namespace lanternfly::bench

int main(int argc, char** argv) {
    using namespace lanternfly::bench;
    const auto report = FrameReport::of(argc, argv);
    if (!report) return 2;
    for (const Case& bench : cases) {
        const double ours = frameCpuMs(bench);
        if (!bench.isPeerCase) {
            report->add(bench.name, ours);
            continue;
        }
        report->add(std::string(bench.name) + ", GStreamer overlay", ours, gstreamerOverlayCpuMs());
        report->add(std::string(bench.name) + ", ffmpeg overlay", ours, ffmpegOverlayCpuMs());
    }
    return 0;
}
