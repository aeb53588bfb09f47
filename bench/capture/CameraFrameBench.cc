// What a camera frame costs to become BGRA.
#include <benchmark/benchmark.h>

#include "platform/linux/camera/FrameDecoder.h"
#include "support/CameraFrames.h"
#include "support/Pictures.h"

namespace lanternfly {
namespace {

constexpr int width = 1920, height = 1080;

void decode(benchmark::State& state, const FrameLayout& layout, const std::vector<uint8_t>& frame) {
    auto decoder = FrameDecoder::create(layout);
    const auto target = PixelBuffer::create(width, height);
    for (auto _ : state)
        if (!decoder->decode(frame, *target)) state.SkipWithError("not decoded");
}

void plain(benchmark::State& state, FrameEncoding encoding, FrameColour colour) {
    const FrameLayout layout{encoding, width, height,
                             FrameLayout::minimumStrideBytes(encoding, width), colour};
    decode(state, layout, test::plainFrame(layout, 180, 90, 40));
}
constexpr FrameColour bt709{FrameColour::Matrix::bt709, false};
BENCHMARK_CAPTURE(plain, yuyv1080p, FrameEncoding::yuyv, FrameColour{})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(plain, yuyv1080pBt709, FrameEncoding::yuyv, bt709)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(plain, nv12_1080p, FrameEncoding::nv12, FrameColour{})
    ->Unit(benchmark::kMillisecond);

void mjpeg1080p(benchmark::State& state) {
    const auto frame = test::jpegFrame(*test::cameraScene(width, height));
    state.counters["KiB"] = static_cast<double>(frame.size()) / 1024;
    decode(state, {FrameEncoding::mjpeg, width, height, 0, {}}, frame);
}
BENCHMARK(mjpeg1080p)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace lanternfly
