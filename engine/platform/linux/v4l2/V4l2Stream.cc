#include "platform/linux/v4l2/V4l2Stream.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <fmt/format.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "base/Clock.h"

namespace lanternfly::v4l2 {
namespace {

uint64_t now() {
    return SystemClock::shared().uptimeNanos();
}

timespec timespecOf(uint64_t nanos) {
    return {static_cast<time_t>(nanos / 1'000'000'000),
            static_cast<decltype(timespec::tv_nsec)>(nanos % 1'000'000'000)};
}

// A driver may say that there is a frame and then have none: not to be asked without pause.
constexpr uint64_t pauseAfterNothingNanos = 2'000'000;

} // namespace

V4l2Stream::V4l2Stream(Camera camera, const CameraConfiguration& configuration)
    : _camera(std::move(camera)), _wakeUp(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!_wakeUp) throw errorOf(errno, _camera.name);
    _configuration = configuration;
    try {
        openPrepared();
    } catch (const CameraError& error) {
        if (error.kind != CameraError::Kind::failed) throw;
        _configuration.reset();
    }
}

V4l2Stream::~V4l2Stream() {
    stop();
}

bool V4l2Stream::prepare(const CameraConfiguration& configuration) {
    if (_queue && _configuration && _configuration->format == configuration.format &&
        _configuration->frameDuration == configuration.frameDuration)
        return true;
    _configuration = configuration;
    try {
        openPrepared();
        return true;
    } catch (const CameraError& error) {
        _log.warning("{} refuses format {}: {}", _camera.name, configuration.format, error.what());
        _queue.reset();
        _configuration.reset();
        return false;
    }
}

void V4l2Stream::openPrepared() {
    const auto place = _camera.locate();
    if (!place) throw errorOf(ENODEV, _camera.name);
    if (_configuration->format >= _camera.modes.size()) throw errorOf(EINVAL, _camera.name);
    if (!_queue) {
        _arrival = place->arrival;
        _queue = std::make_unique<V4l2Queue>(place->node, _camera.name);
    }
    const FrameLayout layout =
        _queue->configure(_camera.modes[_configuration->format], _configuration->frameDuration);
    _decoder = FrameDecoder::create(layout);
    if (!_decoder) throw errorOf(EINVAL, _camera.name);
    if (!_pool || _pool->width() != layout.width || _pool->height() != layout.height)
        _pool = PixelBufferPool::create(layout.width, layout.height, PixelFormat::bgra8);
}

void V4l2Stream::start(FrameSink sink) {
    _sink = std::move(sink);
    _isStopping = false;
    _lastFailure.clear();
    _problem.set({});
    _thread = std::thread([this] {
        pthread_setname_np(pthread_self(), "camera");
        run();
    });
}

void V4l2Stream::stop() {
    if (!_thread.joinable()) return;
    _isStopping = true;
    ::eventfd_write(_wakeUp.get(), 1);
    _thread.join();
    eventfd_t ignored;
    ::eventfd_read(_wakeUp.get(), &ignored);
    if (_queue) _queue->streamOff();
}

void V4l2Stream::run() {
    while (!_isStopping) {
        try {
            if (!_queue) openPrepared();
            captureUntilStopped();
        } catch (const CameraError& error) {
            reportFailure(error);
            _queue.reset();
            waitForStop(_camera.patience.beforeRetry);
        }
    }
}

void V4l2Stream::captureUntilStopped() {
    _queue->streamOn();
    uint64_t lastFrameAt = now();
    uint64_t patience = _camera.patience.forFirstFrame;
    while (!_isStopping) {
        const uint64_t waited = now() - lastFrameAt;
        if (waited >= patience)
            throw CameraError(CameraError::Kind::failed,
                              fmt::format("{} sends no pictures; unplug it and plug it in again if "
                                          "it does not recover",
                                          _camera.name));
        waitForFrame(patience - waited);
        if (_isStopping) return;
        const auto frame = _queue->dequeue();
        if (!frame) {
            waitForStop(pauseAfterNothingNanos);
            continue;
        }
        const uint64_t arrivedAt = now();
        const bool isGood = take(*frame, arrivedAt);
        if (!isGood) continue;
        lastFrameAt = arrivedAt;
        patience = _camera.patience.forNextFrame;
    }
}

// False when there is no picture in it.
bool V4l2Stream::take(const V4l2Queue::Frame& frame, uint64_t arrivedAtNanos) {
    bool isGood = !frame.isDamaged && !frame.bytes.empty();
    // A consumer that keeps all buffers misses this frame; the camera is well.
    const PixelBufferRef picture = isGood ? _pool->take().buffer : nullptr;
    if (picture) isGood = _decoder->decode(frame.bytes, *picture);
    _queue->enqueue(frame.index);
    if (!isGood) {
        _log.debug("{} sent a damaged picture", _camera.name);
        return false;
    }
    reportFrames();
    if (picture) _sink({picture, MediaTime::fromNanos(static_cast<int64_t>(arrivedAtNanos))});
    return true;
}

void V4l2Stream::waitForFrame(uint64_t nanos) {
    pollfd waited[] = {{_wakeUp.get(), POLLIN, 0}, {_queue->descriptor(), POLLIN, 0}};
    const timespec limit = timespecOf(nanos);
    ::ppoll(waited, std::size(waited), &limit, nullptr);
}

void V4l2Stream::waitForStop(uint64_t nanos) {
    pollfd waited{_wakeUp.get(), POLLIN, 0};
    const timespec limit = timespecOf(nanos);
    ::ppoll(&waited, 1, &limit, nullptr);
}

// Once, not at each attempt.
void V4l2Stream::reportFailure(const CameraError& error) {
    const bool isGone = error.kind == CameraError::Kind::disconnected;
    _problem.set(isGone ? "" : error.what());
    // Only the one that was opened: meanwhile it may have been plugged in again.
    if (isGone && _arrival) _camera.lost(*std::exchange(_arrival, std::nullopt));
    if (_lastFailure == error.what()) return;
    _lastFailure = error.what();
    _log.error("{}", _lastFailure);
}

void V4l2Stream::reportFrames() {
    if (_lastFailure.empty()) return;
    _log.info("{} sends pictures again", _camera.name);
    _lastFailure.clear();
    _problem.set({});
}

} // namespace lanternfly::v4l2
