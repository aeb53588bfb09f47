#include "platform/linux/v4l2/LoopbackSink.h"

#include "base/Clock.h"
#include "platform/linux/v4l2/VideoNodes.h"

namespace lanternfly::v4l2 {
namespace {

using State = FrameSinkStatus::State;

LoopbackOptions withNode(LoopbackOptions options) {
    if (options.node.empty()) options.node = loopbackNode(outputNodes(), options.label);
    return options;
}

} // namespace

LoopbackSink::LoopbackSink(LoopbackOptions options)
    : _options(withNode(std::move(options))), _output(open()),
      _report(_options.node.string(), "LoopbackSink", State::watched),
      _worker("loopback", 1, [this](const PixelBufferRef& frame, MediaTime) { write(*frame); }) {}

std::unique_ptr<V4l2Output> LoopbackSink::open() const {
    return std::make_unique<V4l2Output>(_options.node, _options.width, _options.height,
                                        _options.framesPerSecond);
}

void LoopbackSink::send(const PixelBufferRef& frame, MediaTime pts) {
    const State state = _report.state();
    if (!frame || frame->format() != PixelFormat::bgra8 || state == State::finished) return;
    // While the device is gone frames are what it is looked for by.
    if (!_worker.put(frame, pts) && state == State::watched) _report.countDropped();
}

bool LoopbackSink::isWatched() const {
    return _report.state() == State::watched;
}

void LoopbackSink::write(const PixelBuffer& frame) {
    const uint64_t now = SystemClock::shared().uptimeNanos();
    if (!_output && now - _failedAtNanos < _options.beforeRetryNanos) return;
    try {
        if (!_output) {
            _output = open();
            _report.set(State::watched);
        }
        if (_output->write(frame))
            _report.countSent();
        else
            _report.countDropped();
    } catch (const CameraError& error) {
        _output = nullptr;
        _failedAtNanos = now;
        _report.set(State::waiting, error.what());
    }
}

void LoopbackSink::finish() {
    _worker.finish();
    _report.set(State::finished);
}

} // namespace lanternfly::v4l2
