#include "platform/linux/video/RecordingSink.h"

namespace lanternfly {
namespace {

using State = FrameSinkStatus::State;

// One more is being written.
constexpr size_t waitingFrames = FrameSink::maxHeldFrames - 2;

std::unique_ptr<VideoFileWriter> writerFor(const RecordingOptions& options) {
    return VideoFileWriter::create({.file = options.file,
                                    .width = options.width,
                                    .height = options.height,
                                    .frameRate = options.frameRate,
                                    .soundFrom = {},
                                    .isLive = true,
                                    .hasLiveSound = options.sound != nullptr});
}

} // namespace

RecordingSink::RecordingSink(const RecordingOptions& options)
    : _report(options.file.filename().string(), "RecordingSink", State::watched),
      _sound(options.sound), _fitter(options.width, options.height),
      _time(1 / options.frameRate.framesPerSecond()), _writer(writerFor(options)),
      _worker("recording", waitingFrames,
              [this](const PixelBufferRef& frame, MediaTime pts) { write(*frame, pts); }) {
    if (_sound) _sound->start([this](const SoundBlock& block) { _heard.put(block); });
}

RecordingSink::~RecordingSink() {
    if (_sound) _sound->stop();
}

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
        writeSound();
        _report.countSent();
    } catch (const VideoError& error) {
        _writer = nullptr; // keeps what it has written
        _report.set(State::failed, error.what());
    }
}

// Whole pieces up to now; what was heard before the first frame is left out.
void RecordingSink::writeSound() {
    while (_heard.take(_piece))
        if (const double seconds = _time.secondsOf(_piece.pts); seconds >= 0)
            _writer->writeSound(_piece.samples, seconds);
}

void RecordingSink::finish() {
    const std::lock_guard guard(_finishing);
    if (_sound) _sound->stop();
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
