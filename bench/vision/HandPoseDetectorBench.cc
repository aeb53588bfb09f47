// What hand detection costs a picture, whole and in parts. ONEDNN_MAX_CPU_ISA=SSE41 leaves the
// convolutions to OpenCV, to compare with. Read the CPU column: the wall clock of a busy machine
// also counts other programs.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "capture/VisionDownsampler.h"
#include "platform/linux/video/VideoFileReader.h"
#include "platform/linux/vision/HandNetworks.h"
#include "platform/linux/vision/HeatmapDecoder.h"
#include "platform/linux/vision/OpenCvHandPoseDetector.h"

namespace lanternfly {
namespace {

const std::filesystem::path source = LANTERNFLY_SOURCE_DIR;

// Pictures of the demo clip at the working size.
std::vector<PixelBufferRef> pictures(int first, int count) {
    const auto reader = VideoFileReader::open(source / "demo/presenter.mp4");
    VisionDownsampler downsampler;
    std::vector<PixelBufferRef> result;
    for (int i = 0; i < first + count; ++i) {
        const auto frame = reader->next();
        if (!frame) throw std::runtime_error("the clip is too short");
        if (i < first) continue;
        // A copy of its own: the downsampler's buffers come round again.
        const auto scaled = downsampler.scaled(*frame->picture);
        const auto kept = PixelBuffer::create(scaled->width(), scaled->height());
        std::copy_n(scaled->data(), scaled->strideBytes() * static_cast<size_t>(scaled->height()),
                    kept->data());
        result.push_back(kept);
    }
    return result;
}

// Plays the pictures forwards and backwards, so that the hands never jump.
void detect(benchmark::State& state, int first, size_t expectedHands) {
    const auto clip = pictures(first, 20);
    OpenCvHandPoseDetector detector(source / "models");
    std::vector<HandObservation> hands;
    size_t step = 0, asExpected = 0;
    const auto next = [&] {
        const size_t at = step++ % (2 * clip.size());
        detector.detect(*clip[at < clip.size() ? at : 2 * clip.size() - 1 - at], hands);
    };
    for (int i = 0; i < 10; ++i)
        next();
    for (auto _ : state) {
        next();
        asExpected += hands.size() == expectedHands;
    }
    state.counters["expected hands"] =
        benchmark::Counter(static_cast<double>(asExpected), benchmark::Counter::kAvgIterations);
}

void noHand(benchmark::State& state) {
    detect(state, 0, 0);
}
void oneHand(benchmark::State& state) {
    detect(state, 100, 1);
}
void twoHands(benchmark::State& state) {
    detect(state, 860, 2);
}

void oneSearch(benchmark::State& state) {
    const auto clip = pictures(100, 1);
    HandNetworks networks(HandModel::read(source / "models"));
    networks.setPicture(*clip[0]);
    for (auto _ : state)
        benchmark::DoNotOptimize(networks.search(0.35));
}

void oneReading(benchmark::State& state) {
    const auto clip = pictures(100, 1);
    HandNetworks networks(HandModel::read(source / "models"));
    networks.setPicture(*clip[0]);
    const HandCrop crop{.centre = {60, 130}, .sidePX = 140, .angleRad = 0.1};
    for (auto _ : state)
        benchmark::DoNotOptimize(networks.read(crop, nullptr));
}

void decodingOfTheMaps(benchmark::State& state) {
    HeatmapDecoder decoder(32);
    std::vector<float> logits(decoder.logitCount());
    for (size_t i = 0; i < logits.size(); ++i)
        logits[i] = static_cast<float>(i * 2654435761u % 1000) / 50;
    HeatmapDecoder::Joints joints;
    const HeatmapDecoder::Expectation expected{};
    for (auto _ : state) {
        decoder.decode(logits, &expected, joints);
        benchmark::DoNotOptimize(joints);
    }
}

void loading(benchmark::State& state) {
    for (auto _ : state)
        HandNetworks networks(HandModel::read(source / "models"));
}

BENCHMARK(noHand)->Unit(benchmark::kMillisecond);
BENCHMARK(oneHand)->Unit(benchmark::kMillisecond);
BENCHMARK(twoHands)->Unit(benchmark::kMillisecond);
BENCHMARK(oneSearch)->Unit(benchmark::kMillisecond);
BENCHMARK(oneReading)->Unit(benchmark::kMillisecond);
BENCHMARK(decodingOfTheMaps)->Unit(benchmark::kMillisecond);
BENCHMARK(loading)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace lanternfly
