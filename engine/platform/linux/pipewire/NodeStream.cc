#include "platform/linux/pipewire/NodeStream.h"

#include <utility>

#include <fmt/format.h>
#include <pipewire/pipewire.h>

#include "base/Clock.h"
#include "base/Logger.h"
#include "base/PixelBufferPool.h"
#include "platform/linux/camera/FrameDecoder.h"
#include "platform/linux/pipewire/Connection.h"

namespace lanternfly::pipewire {
namespace {

// How often is looked whether frames come.
constexpr long lookNanos = 100'000'000;
// A session manager that has not heard of the node yet refuses the stream.
constexpr uint64_t afterRefusalNanos = 200'000'000;

uint64_t now() {
    return SystemClock::shared().uptimeNanos();
}

} // namespace

// What exists while frames are wanted; bound to the connection's thread.
struct NodeStream::Running {
    Running(const Camera& from, const VideoFormat& wanted, FrameSink to)
        : camera(from), format(wanted), sink(std::move(to)),
          connection("camera-node", {.connected =
                                         [this](pw_core& it) {
                                             core = &it;
                                             open();
                                         },
                                     .disconnected =
                                         [this] {
                                             close();
                                             core = nullptr;
                                         },
                                     .unreachable = {}}) {
        events.version = PW_VERSION_STREAM_EVENTS;
        events.state_changed = [](void* self, pw_stream_state, pw_stream_state state, const char*) {
            auto& its = *static_cast<Running*>(self);
            if (state == PW_STREAM_STATE_ERROR) its.deadline = now() + afterRefusalNanos;
        };
        events.param_changed = [](void* self, uint32_t id, const spa_pod* parameter) {
            if (id == SPA_PARAM_Format && parameter)
                static_cast<Running*>(self)->formatChanged(*parameter);
        };
        events.process = [](void* self) { static_cast<Running*>(self)->take(); };
        look = pw_loop_add_timer(
            connection.loop(),
            [](void* self, uint64_t) { static_cast<Running*>(self)->lookForFrames(); }, this);
        timespec gap{0, lookNanos};
        pw_loop_update_timer(connection.loop(), look, &gap, &gap, false);
        connection.start();
    }
    ~Running() {
        connection.stop();
        pw_loop_destroy_source(connection.loop(), look);
    }

    void open() {
        deadline = now() + camera.patience.forFirstFrame;
        const auto found = camera.locate();
        target = found.value_or("");
        if (!found) return;
        stream = pw_stream_new(core, "camera",
                               pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY,
                                                 "Capture", PW_KEY_MEDIA_ROLE, "Camera",
                                                 PW_KEY_TARGET_OBJECT, target.c_str(), nullptr));
        if (!stream) return;
        hook = {};
        pw_stream_add_listener(stream, &hook, &events, this);
        Parameters formats;
        formats.addFormat(format);
        const auto all = formats.all();
        // Never another camera than this one.
        pw_stream_connect(stream, PW_DIRECTION_INPUT, PW_ID_ANY,
                          static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT |
                                                       PW_STREAM_FLAG_MAP_BUFFERS |
                                                       PW_STREAM_FLAG_DONT_RECONNECT),
                          all.data(), static_cast<uint32_t>(all.size()));
    }
    void close() {
        decoder.reset();
        if (!stream) return;
        spa_hook_remove(&hook);
        pw_stream_destroy(std::exchange(stream, nullptr));
    }
    void lookForFrames() {
        if (!core) return;
        const bool isElsewhere = camera.locate().value_or("") != target;
        if (!isElsewhere && now() < deadline) return;
        if (!isElsewhere && !std::exchange(isFailureTold, true))
            log.error("{} sends no pictures; close other programs that use it, or plug it in again",
                      camera.name);
        close();
        open();
    }
    void formatChanged(const spa_pod& parameter) {
        spa_video_info_raw raw{};
        colour = {};
        if (format.encoding != FrameEncoding::mjpeg &&
            spa_format_video_raw_parse(&parameter, &raw) >= 0)
            colour = colourOf(raw);
        decoder.reset();
        if (!pool) pool = PixelBufferPool::create(format.width, format.height, PixelFormat::bgra8);
        Parameters parameters;
        parameters.addAnyBuffers();
        const auto all = parameters.all();
        pw_stream_update_params(stream, all.data(), static_cast<uint32_t>(all.size()));
    }
    void take() {
        pw_buffer* const buffer = pw_stream_dequeue_buffer(stream);
        if (!buffer) return;
        const PixelBufferRef picture = decoded(buffer->buffer->datas[0]);
        pw_stream_queue_buffer(stream, buffer);
        if (!picture) return;
        const uint64_t arrivedAt = now();
        deadline = arrivedAt + camera.patience.forNextFrame;
        if (std::exchange(isFailureTold, false)) log.info("{} sends pictures again", camera.name);
        sink({picture, MediaTime::fromNanos(static_cast<int64_t>(arrivedAt))});
    }
    // Null for what is no picture, or when nobody gave one back.
    PixelBufferRef decoded(const spa_data& block) {
        const spa_chunk* const chunk = block.chunk;
        if (!block.data || !pool || chunk->size == 0 ||
            (chunk->flags & SPA_CHUNK_FLAG_CORRUPTED) != 0 || chunk->offset > block.maxsize ||
            chunk->size > block.maxsize - chunk->offset || chunk->stride < 0)
            return nullptr;
        const auto stride = static_cast<size_t>(chunk->stride);
        if (!decoder || decoderStride != stride) {
            decoderStride = stride;
            auto made = FrameDecoder::create({.encoding = format.encoding,
                                              .width = format.width,
                                              .height = format.height,
                                              .strideBytes = stride,
                                              .colour = colour});
            if (!made) return nullptr;
            decoder.emplace(std::move(*made));
        }
        PixelBufferRef picture = pool->take().buffer;
        const auto* const bytes = static_cast<const uint8_t*>(block.data) + chunk->offset;
        if (!picture || !decoder->decode({bytes, chunk->size}, *picture)) return nullptr;
        return picture;
    }

    const Logger log{"NodeStream"};
    const Camera& camera;
    const VideoFormat format;
    const FrameSink sink;
    pw_stream_events events{};
    pw_core* core = nullptr;
    pw_stream* stream = nullptr;
    spa_hook hook{};
    spa_source* look = nullptr;
    std::string target; // of the stream; empty when the node was not there
    FrameColour colour;
    std::optional<FrameDecoder> decoder;
    size_t decoderStride = 0;
    std::unique_ptr<PixelBufferPool> pool;
    uint64_t deadline = 0; // for the next frame
    bool isFailureTold = false;
    Connection connection; // last: its thread uses the others
};

NodeStream::NodeStream(Camera camera, const CameraConfiguration& configuration)
    : _camera(std::move(camera)), _configuration(configuration) {
    if (!_camera.locate())
        throw CameraError(CameraError::Kind::disconnected,
                          fmt::format("{} is not there any more; plug it in, or start the program "
                                      "that it belongs to",
                                      _camera.name));
}

NodeStream::~NodeStream() = default;

bool NodeStream::prepare(const CameraConfiguration& configuration) {
    if (configuration.format >= _camera.formats.size() || !_camera.locate()) return false;
    _configuration = configuration;
    return true;
}

void NodeStream::start(FrameSink sink) {
    if (_configuration.format >= _camera.formats.size()) return;
    _running =
        std::make_unique<Running>(_camera, _camera.formats[_configuration.format], std::move(sink));
}

void NodeStream::stop() {
    _running = nullptr;
}

} // namespace lanternfly::pipewire
