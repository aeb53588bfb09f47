#include "app/live/LivePipeline.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>

#include <pthread.h>

namespace lanternfly {
namespace {

constexpr uint8_t plainGrey = 32;
constexpr auto giveWay = std::chrono::milliseconds(5);

PixelBufferRef plainPicture(const FrameCompositor& canvas) {
    auto picture = PixelBuffer::create(canvas.width(), canvas.height());
    if (!picture) return nullptr;
    for (int y = 0; y < picture->height(); ++y) {
        uint8_t* row = picture->row(y);
        std::memset(row, plainGrey, static_cast<size_t>(picture->width()) * 4);
        for (int x = 0; x < picture->width(); ++x)
            row[x * 4 + 3] = 255;
    }
    return picture;
}

MediaTime mediaTimeOf(uint64_t uptimeNanos) {
    return MediaTime::fromNanos(static_cast<int64_t>(uptimeNanos));
}

uint64_t nanosOf(MediaTime time) {
    return static_cast<uint64_t>(std::llround(std::max(time.seconds(), 0.0) * 1e9));
}

} // namespace

LivePipeline::LivePipeline(Setup setup)
    : _setup(std::move(setup)), _plain(plainPicture(*_setup.pipeline.compositor())),
      _lastPicture(_plain), _nextStandInNanos(_setup.clock.uptimeNanos() + patienceNanos),
      _standIns([this](const std::stop_token& stop) {
          pthread_setname_np(pthread_self(), "stand-ins");
          standIn(stop);
      }) {}

LivePipeline::~LivePipeline() {
    _standIns.request_stop();
    _standIns.join();
}

void LivePipeline::onCameraFrame(const PixelBufferRef& picture, MediaTime pts) {
    _isFrameWaiting = true;
    const std::lock_guard guard(_mutex);
    _isFrameWaiting = false;
    const auto index = static_cast<uint64_t>(_nextIndex.load());
    if (_setup.trace) _setup.trace->record(TraceFile::Phase::begin, "live", "frame", index);
    const double aspect = static_cast<double>(picture->width()) / picture->height();
    if (auto framed = _setup.framing.apply(picture, aspect)) {
        _lastPicture = framed;
        if (compose(std::move(framed), pts, false)) _setup.figures.frameDone(nanosOf(pts));
    }
    if (_setup.trace) _setup.trace->record(TraceFile::Phase::end, "live", "frame", index);
    measureTarget();
    _nextStandInNanos = _setup.clock.uptimeNanos() + patienceNanos;
}

void LivePipeline::standIn(const std::stop_token& stop) {
    std::unique_lock lock(_mutex);
    while (!stop.stop_requested()) {
        // Where each takes longer than it lasts, a camera that is back would never get in.
        if (_isFrameWaiting) {
            _stopped.wait_for(lock, stop, giveWay, [this] { return !_isFrameWaiting; });
            continue;
        }
        const uint64_t now = _setup.clock.uptimeNanos();
        if (now < _nextStandInNanos) {
            _stopped.wait_for(lock, stop, std::chrono::nanoseconds(_nextStandInNanos - now),
                              [] { return false; });
            continue;
        }
        if (_lastPicture && compose(_lastPicture, mediaTimeOf(now), true))
            _setup.figures.standInDone();
        // One that was late does not hurry the next.
        _nextStandInNanos = std::max(_nextStandInNanos + standInNanos, now);
    }
}

bool LivePipeline::compose(PixelBufferRef picture, MediaTime pts, bool isStandIn) {
    // A frame may have been on its way while the one that stands in for it was sent.
    const uint64_t nanos = std::max(nanosOf(pts), _lastNanos + 1);
    _lastNanos = nanos;
    pts = mediaTimeOf(nanos);
    auto out = _setup.pipeline.onFrame(
        {.picture = std::move(picture), .pts = pts, .index = _nextIndex++, .isStandIn = isStandIn});
    if (!out) return false;
    _setup.sink.send(out, pts);
    return true;
}

// The controller keeps only its newest measurement.
void LivePipeline::measureTarget() {
    const auto latency = _setup.pipeline.latency();
    if (!latency || _lastTargetMs == latency->instantMs) return;
    _lastTargetMs = latency->instantMs;
    _setup.figures.targetSet(latency->instantMs);
}

} // namespace lanternfly
