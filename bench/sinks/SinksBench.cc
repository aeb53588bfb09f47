// What a 1080p frame costs on its way out.
#include <filesystem>
#include <thread>

#include <benchmark/benchmark.h>

#include "base/Logger.h"
#include "platform/linux/output/FrameEncoder.h"
#include "platform/linux/pipewire/VirtualCamera.h"
#include "platform/linux/video/RecordingSink.h"
#include "support/Pictures.h"
#include "support/TemporaryFolder.h"

namespace lanternfly {
namespace {

constexpr int width = 1920, height = 1080;

void encode(benchmark::State& state, FrameEncoding encoding, int toWidth, int toHeight) {
    auto encoder = FrameEncoder::create({.encoding = encoding,
                                         .width = toWidth,
                                         .height = toHeight,
                                         .strideBytes = 0,
                                         .colour = {}});
    const auto frame = test::cameraScene(width, height);
    std::vector<uint8_t> bytes(encoder->frameBytes());
    for (auto _ : state)
        if (!encoder->encode(*frame, bytes)) state.SkipWithError("not encoded");
}
BENCHMARK_CAPTURE(encode, yuyv1080p, FrameEncoding::yuyv, width, height)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(encode, nv12_1080p, FrameEncoding::nv12, width, height)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(encode, bgrx1080p, FrameEncoding::bgrx, width, height)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(encode, yuyv720p, FrameEncoding::yuyv, 1280, 720)->Unit(benchmark::kMillisecond);

// What handing over costs the frame thread while nobody watches.
void unwatchedVirtualCamera(benchmark::State& state) {
    Logger::setMinimumLevel(LogLevel::error); // PipeWire need not run for this
    pipewire::VirtualCamera camera(
        {.name = "Bench", .manufacturer = "Bench", .model = "Bench", .streamTag = "bench.Video"});
    const auto frame = test::cameraScene(width, height);
    int64_t index = 0;
    for (auto _ : state)
        camera.send(frame, MediaTime::make(++index, 30));
}
BENCHMARK(unwatchedVirtualCamera)->Unit(benchmark::kMicrosecond);

// All threads' time for a frame, the encoder's too.
void recording1080p(benchmark::State& state) {
    const test::TemporaryFolder folder;
    RecordingSink sink({.file = folder / "bench.mkv", .frameRate = {30, 1}});
    const auto frame = test::cameraScene(width, height);
    int64_t index = 0;
    for (auto _ : state) {
        const uint64_t before = sink.status().sentFrames;
        sink.send(frame, MediaTime::make(++index, 30));
        while (sink.isWatched() && sink.status().sentFrames == before)
            std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    sink.finish();
}
BENCHMARK(recording1080p)->MeasureProcessCPUTime()->Unit(benchmark::kMillisecond);

} // namespace
} // namespace lanternfly
