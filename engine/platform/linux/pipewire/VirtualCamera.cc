#include "platform/linux/pipewire/VirtualCamera.h"

#include <array>
#include <cmath>
#include <utility>

#include <fmt/format.h>
#include <pipewire/pipewire.h>

#include "base/Clock.h"
#include "platform/linux/pipewire/VideoFormats.h"

namespace lanternfly::pipewire {
namespace {

using State = FrameSinkStatus::State;

// Browsers refuse a camera that has RGB alone.
constexpr std::array offeredEncodings{FrameEncoding::yuyv, FrameEncoding::nv12,
                                      FrameEncoding::bgrx};
struct Size {
    int width, height;
};
// What meeting programs ask for beside the full size.
constexpr std::array offeredSizes{Size{1280, 720}, Size{960, 540}, Size{640, 480}, Size{640, 360}};
// A frame that comes a little early is on time.
constexpr double leastGapOfInterval = 0.75;
constexpr double farSeconds = 10;
// A picture that stands still is sent this often: programs give up a camera that sends nothing, and
// what is sent in the instant in which they come is lost.
constexpr long repeatNanos = 200'000'000;

constexpr const char* unreachableText =
    "PipeWire does not answer, so that no program sees the virtual camera; start it with "
    "\"systemctl --user start pipewire wireplumber\"";

} // namespace

struct VirtualCamera::Stream {
    pw_stream* stream = nullptr;
    spa_hook hook{};
    pw_stream_events events{};
    spa_source* wakeUp = nullptr;
    spa_source* repeat = nullptr;
    std::optional<FrameEncoder> encoder; // while a format is agreed on
    bool isStreaming = false;
    std::optional<double> lastSeconds;
    uint64_t sequence = 0;
    uint64_t sequenceAtRepeat = 0;
};

VirtualCamera::VirtualCamera(VirtualCameraDescription description)
    : _description(std::move(description)),
      _report("virtual camera", "VirtualCamera", State::waiting),
      _stream(std::make_unique<Stream>()),
      _connection("virtual-camera",
                  {.connected = [this](pw_core& core) { createStream(core); },
                   .disconnected = [this] { destroyStream(); },
                   .unreachable = [this] { _report.set(State::waiting, unreachableText); }}) {
    pw_stream_events& events = _stream->events;
    events.version = PW_VERSION_STREAM_EVENTS;
    events.state_changed = [](void* self, pw_stream_state, pw_stream_state now, const char* error) {
        static_cast<VirtualCamera*>(self)->stateChanged(now, error ? error : "");
    };
    events.param_changed = [](void* self, uint32_t id, const spa_pod* parameter) {
        if (id == SPA_PARAM_Format) static_cast<VirtualCamera*>(self)->formatChanged(parameter);
    };
    events.process = [](void* self) { static_cast<VirtualCamera*>(self)->fillBuffer(); };
    _stream->wakeUp = pw_loop_add_event(
        _connection.loop(),
        [](void* self, uint64_t) { static_cast<VirtualCamera*>(self)->sendNewest(); }, this);
    _stream->repeat = pw_loop_add_timer(
        _connection.loop(),
        [](void* self, uint64_t) { static_cast<VirtualCamera*>(self)->repeatNewest(); }, this);
    _connection.start();
}

VirtualCamera::~VirtualCamera() {
    finish();
    pw_loop_destroy_source(_connection.loop(), _stream->wakeUp);
    pw_loop_destroy_source(_connection.loop(), _stream->repeat);
}

void VirtualCamera::createStream(pw_core& core) {
    Stream& its = *_stream;
    its.stream = pw_stream_new(
        &core, _description.streamTag.c_str(),
        pw_properties_new(PW_KEY_MEDIA_CLASS, "Video/Source", PW_KEY_MEDIA_ROLE, "Camera",
                          PW_KEY_NODE_NAME, _description.name.c_str(), PW_KEY_NODE_DESCRIPTION,
                          _description.name.c_str(), PW_KEY_DEVICE_VENDOR_NAME,
                          _description.manufacturer.c_str(), PW_KEY_DEVICE_PRODUCT_NAME,
                          _description.model.c_str(), nullptr));
    if (!its.stream) {
        _report.set(State::waiting, "PipeWire has no room for the virtual camera");
        return;
    }
    its.hook = {};
    pw_stream_add_listener(its.stream, &its.hook, &its.events, this);

    Parameters formats;
    const spa_fraction rate{static_cast<uint32_t>(_description.framesPerSecond), 1};
    for (const FrameEncoding encoding : offeredEncodings) {
        formats.addFormat({encoding, _description.width, _description.height, rate});
        for (const Size size : offeredSizes)
            if (size.width < _description.width)
                formats.addFormat({encoding, size.width, size.height, rate});
    }
    const auto all = formats.all();
    // Frames decide when the node runs.
    pw_stream_connect(
        its.stream, PW_DIRECTION_OUTPUT, PW_ID_ANY,
        static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_MAP_BUFFERS),
        all.data(), static_cast<uint32_t>(all.size()));
}

void VirtualCamera::destroyStream() {
    Stream& its = *_stream;
    setStreaming(false);
    its.encoder.reset();
    if (!its.stream) return;
    spa_hook_remove(&its.hook);
    pw_stream_destroy(std::exchange(its.stream, nullptr));
    _report.set(State::waiting);
}

void VirtualCamera::stateChanged(pw_stream_state now, const std::string& error) {
    setStreaming(now == PW_STREAM_STATE_STREAMING);
    switch (now) {
    case PW_STREAM_STATE_ERROR:
        _report.set(State::waiting,
                    fmt::format("PipeWire refuses the virtual camera: {}; restart PipeWire with "
                                "\"systemctl --user restart pipewire wireplumber\"",
                                error));
        break;
    case PW_STREAM_STATE_UNCONNECTED:
    case PW_STREAM_STATE_CONNECTING:
        break;
    case PW_STREAM_STATE_PAUSED:
        _report.set(State::idle);
        break;
    case PW_STREAM_STATE_STREAMING:
        _report.set(State::watched);
        repeatNewest();
        break;
    }
}

void VirtualCamera::setStreaming(bool isStreaming) {
    if (std::exchange(_stream->isStreaming, isStreaming) == isStreaming) return;
    timespec gap{0, isStreaming ? repeatNanos : 0};
    pw_loop_update_timer(_connection.loop(), _stream->repeat, &gap, &gap, false);
}

void VirtualCamera::formatChanged(const spa_pod* parameter) {
    Stream& its = *_stream;
    its.encoder.reset();
    spa_video_info_raw format{};
    if (!parameter || spa_format_video_raw_parse(parameter, &format) < 0) return;
    const auto encoding = encodingOf(format.format);
    if (encoding)
        its.encoder = FrameEncoder::create({.encoding = *encoding,
                                            .width = static_cast<int>(format.size.width),
                                            .height = static_cast<int>(format.size.height)});
    if (!its.encoder) {
        pw_stream_set_error(its.stream, -EINVAL, "a format that was not offered");
        return;
    }
    Parameters parameters;
    parameters.addBuffers(its.encoder->frameBytes(), its.encoder->layout().strideBytes);
    parameters.addHeaders();
    const auto all = parameters.all();
    pw_stream_update_params(its.stream, all.data(), static_cast<uint32_t>(all.size()));
}

void VirtualCamera::send(const PixelBufferRef& frame, MediaTime pts) {
    if (!frame || frame->format() != PixelFormat::bgra8) return;
    const bool isWatchedNow = isWatched();
    Newest late{frame, pts, true, false}; // holds what was replaced, to let it go after the lock
    const bool isLate = _newest.withLock([&](Newest& newest) {
        if (newest.isOver) return false;
        std::swap(newest, late);
        return late.isFresh;
    });
    if (!isWatchedNow) return;
    if (isLate) _report.countDropped();
    pw_loop_signal_event(_connection.loop(), _stream->wakeUp);
}

bool VirtualCamera::isWatched() const {
    return _report.state() == State::watched;
}

void VirtualCamera::finish() {
    Newest last{nullptr, {}, false, true};
    _newest.withLock([&](Newest& newest) { std::swap(newest, last); });
    _connection.stop();
    _report.set(State::finished);
}

bool VirtualCamera::isDue(MediaTime pts) {
    if (!pts.isValid()) return true;
    const double seconds = pts.seconds();
    const double gap = seconds - _stream->lastSeconds.value_or(seconds - 1);
    if (gap > 0 && gap * _description.framesPerSecond < leastGapOfInterval) return false;
    _stream->lastSeconds = seconds;
    return true;
}

void VirtualCamera::sendNewest() {
    if (!_stream->isStreaming) return;
    const auto pts = _newest.withLock(
        [](Newest& newest) { return newest.isFresh ? std::optional(newest.pts) : std::nullopt; });
    if (!pts) return;
    if (isDue(*pts))
        pw_stream_trigger_process(_stream->stream);
    else
        _newest.withLock([](Newest& newest) { newest.isFresh = false; });
}

void VirtualCamera::repeatNewest() {
    Stream& its = *_stream;
    if (std::exchange(its.sequenceAtRepeat, its.sequence) != its.sequence) return;
    its.lastSeconds.reset();
    _newest.withLock([](Newest& newest) { newest.isFresh = newest.frame != nullptr; });
    sendNewest();
}

void VirtualCamera::fillBuffer() {
    Stream& its = *_stream;
    PixelBufferRef frame;
    MediaTime pts;
    _newest.withLock([&](Newest& newest) {
        if (!std::exchange(newest.isFresh, false)) return;
        frame = newest.frame;
        pts = newest.pts;
    });
    if (!frame || !its.encoder) return;
    pw_buffer* const buffer = pw_stream_dequeue_buffer(its.stream);
    if (!buffer) { // whoever watches keeps them all
        _report.countDropped();
        return;
    }
    spa_data& block = buffer->buffer->datas[0];
    const bool isFilled =
        block.data &&
        its.encoder->encode(*frame, {static_cast<uint8_t*>(block.data), block.maxsize});
    block.chunk->offset = 0;
    block.chunk->stride = static_cast<int32_t>(its.encoder->layout().strideBytes);
    block.chunk->size = isFilled ? static_cast<uint32_t>(its.encoder->frameBytes()) : 0;
    block.chunk->flags = isFilled ? SPA_CHUNK_FLAG_NONE : SPA_CHUNK_FLAG_CORRUPTED;
    if (void* const found =
            spa_buffer_find_meta_data(buffer->buffer, SPA_META_Header, sizeof(spa_meta_header))) {
        const double now = SystemClock::shared().uptimeSeconds();
        const bool isPlausible = pts.isValid() && std::abs(pts.seconds() - now) < farSeconds;
        auto& header = *static_cast<spa_meta_header*>(found);
        header.flags = 0;
        header.offset = 0;
        header.pts = std::llround((isPlausible ? pts.seconds() : now) * 1e9);
        header.dts_offset = 0;
        header.seq = its.sequence;
    }
    ++its.sequence;
    pw_stream_queue_buffer(its.stream, buffer);
    if (isFilled) _report.countSent();
}

} // namespace lanternfly::pipewire
