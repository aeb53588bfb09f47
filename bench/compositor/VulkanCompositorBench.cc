// What one frame costs on the machine's Vulkan device: processor time of the whole program (a
// software driver draws on threads of its own), and the time that the compositing thread waits.
#include <algorithm>
#include <chrono>
#include <ctime>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "FrameReport.h"
#include "PlaceboPeer.h"
#include "gpu/vulkan/VulkanDevice.h"
#include "render/FrameCompositor.h"
#include "support/Pictures.h"

namespace lanternfly::bench {
namespace {

struct Case {
    const char* name;
    float backdropSigma = 0;
    float overlayBlur = 0;
    bool mirror = false;
    bool hasPane = true;
    bool importsHostMemory = true;
    bool isPeerCase = false;
};

const Case cases[] = {
    {"camera", 0, 0, false, false},
    {"camera mirrored", 0, 0, true, false},
    {"camera + tilted pane 0.36", 0, 0, false, true, true, true},
    {"camera + tilted pane 0.36, no host import", 0, 0, false, true, false},
    {"frosted pane 0.36", 12},
    {"frosted pane 0.36, mirrored", 12, 0, true},
    {"camera blurred by 12, pane 0.36", 0, 12},
    {"camera blurred by 3, pane 0.36", 0, 3},
};

double processCpuMs() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
}

double wallMs() {
    using namespace std::chrono;
    return duration<double, std::milli>(steady_clock::now().time_since_epoch()).count();
}

double median(std::vector<double>& values) {
    const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

struct Cost {
    double cpuMs = 0, wallMs = 0;
};

// Medians: a frame that another process disturbed counts like any other.
Cost frameCost(const Case& bench, const std::shared_ptr<VulkanDevice>& device) {
    constexpr int width = 1920;
    constexpr int height = 1080;
    const auto compositor = FrameCompositor::create(device, width, height);
    if (!compositor) return {};
    TextureOptions options;
    options.prefilteredLevels = true;
    if (bench.hasPane)
        compositor->setSlideTexture(device->makeTexture(*test::slidePicture(2048, 1152), options),
                                    true);
    compositor->setTransform({{-0.1f, 0.05f}, 0.36f, 1});
    compositor->setAppearance({1, bench.overlayBlur, 8, -14});
    VisionOSTuning tuning;
    tuning.backdropBlurSigma = bench.backdropSigma;
    compositor->setTuning(tuning);
    const auto camera = test::cameraScene(width, height);
    std::vector<double> cpuTimes;
    std::vector<double> wallTimes;
    for (int frame = 0; frame < 70; ++frame) {
        const double cpuStart = processCpuMs();
        const double wallStart = wallMs();
        if (!compositor->composite(camera, bench.mirror, FullComposition{}, 0)) return {};
        if (frame < 10) continue;
        cpuTimes.push_back(processCpuMs() - cpuStart);
        wallTimes.push_back(wallMs() - wallStart);
    }
    return {median(cpuTimes), median(wallTimes)};
}

} // namespace
} // namespace lanternfly::bench

int main(int argc, char** argv) {
    using namespace lanternfly;
    const auto report = bench::FrameReport::of(argc, argv);
    if (!report) return 2;
    for (const auto& bench : bench::cases) {
        const auto device = VulkanDevice::create(
            {.selector = "", .validate = false, .allowHostImport = bench.importsHostMemory});
        if (!device) break;
        const bench::Cost cost = bench::frameCost(bench, device);
        report->add(fmt::format("{}, 1080p, {}", bench.name,
                                device->isSoftware() ? "software Vulkan" : device->name()),
                    cost.cpuMs, bench.isPeerCase ? bench::placeboOverlayCpuMs() : std::nullopt,
                    fmt::format("{:.3f} ms; the peer is libplacebo's overlay", cost.wallMs));
    }
    return 0;
}
