#include "platform/linux/video/RecordingSink.h"

#include "platform/linux/video/VideoFileWriter.h"

namespace lanternfly {
namespace {

using State = FrameSinkStatus::State;

// One more is being written.
constexpr size_t waitingFrames = FrameSink::maxHeldFrames - 2;

std::unique_ptr<VideoWriter> writerFor(const RecordingOptions& options) {
    return VideoFileWriter::create({.file = options.file,
                                    .width = options.width,
                                    .height = options.height,
                                    .frameRate = options.frameRate,
                                    .soundFrom = {},
                                    .isLive = true});
}

} // namespace

RecordingSink::RecordingSink(const RecordingOptions& options)
    : _report(options.file.filename().string(), "RecordingSink", State::watched),
      _fitter(options.width, options.height), _time(1 / options.frameRate.framesPerSecond()),
      _writer(writerFor(options)),
      _worker("recording", waitingFrames,
              [this](const PixelBufferRef& frame, MediaTime pts) { write(*frame, pts); }) {}

void RecordingSink::send(const PixelBufferRef& frame, MediaTime pts) {
    if (!frame || frame->format() != PixelFormat::bgra8 || !isWatched()) return;
    if (!_worker.put(frame, pts)) _report.countDropped();
}

bool RecordingSink::isWatched() const {
    return _report.state() == State::watched;
}

void RecordingSink::write(const PixelBuffer& frame, MediaTime pts) {
    const PixelBuffer* const picture = _fitter.fit(frame);
    if (!_writer || !picture) return;
    try {
        _writer->write(*picture, _time.next(pts));
        _report.countSent();
    } catch (const VideoError& error) {
        _writer = nullptr; // keeps what it has written
        _report.set(State::failed, error.what());
    }
}

void RecordingSink::finish() {
    const std::lock_guard guard(_finishing);
    _worker.finish();
    try {
        if (_writer) _writer->finish(VideoWriter::Sound::untilLastPicture);
    } catch (const VideoError& error) {
        _report.set(State::failed, error.what());
    }
    _writer = nullptr;
    _report.set(State::finished);
}

} // namespace lanternfly
