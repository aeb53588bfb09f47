#include "platform/linux/pipewire/Microphone.h"

#include <cmath>
#include <utility>

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

#include "base/Clock.h"
#include "base/Logger.h"
#include "platform/linux/pipewire/Connection.h"

namespace lanternfly::pipewire {

// What exists while sound is wanted; bound to the connection's thread.
struct Microphone::Running {
    Running(const std::string& source, Handler to)
        : target(source), handler(std::move(to)),
          connection("microphone", {.connected = [this](pw_core& core) { open(core); },
                                    .disconnected = [this] { close(); },
                                    .unreachable = [this] { tellOfSilence(); }}) {
        events.version = PW_VERSION_STREAM_EVENTS;
        events.process = [](void* self) { static_cast<Running*>(self)->take(); };
        connection.start();
    }
    ~Running() { connection.stop(); }

    void open(pw_core& core) {
        pw_properties* const properties =
            pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Capture",
                              PW_KEY_MEDIA_ROLE, "Production", nullptr);
        if (!target.empty()) pw_properties_set(properties, PW_KEY_TARGET_OBJECT, target.c_str());
        stream = pw_stream_new(&core, "recording", properties);
        if (!stream) return;
        hook = {};
        pw_stream_add_listener(stream, &hook, &events, this);
        spa_audio_info_raw format{};
        format.format = SPA_AUDIO_FORMAT_F32;
        format.rate = SoundBlock::rate;
        format.channels = SoundBlock::channels;
        format.position[0] = SPA_AUDIO_CHANNEL_FL;
        format.position[1] = SPA_AUDIO_CHANNEL_FR;
        uint8_t bytes[1024];
        spa_pod_builder builder{bytes, sizeof bytes, 0, {}, {}};
        const spa_pod* parameter =
            spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);
        pw_stream_connect(
            stream, PW_DIRECTION_INPUT, PW_ID_ANY,
            static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS),
            &parameter, 1);
    }
    void close() {
        if (!stream) return;
        spa_hook_remove(&hook);
        pw_stream_destroy(std::exchange(stream, nullptr));
    }
    void tellOfSilence() const {
        log.warning("no sound is heard, since PipeWire does not answer; start it with \"systemctl "
                    "--user start pipewire wireplumber\"");
    }
    void take() {
        pw_buffer* const buffer = pw_stream_dequeue_buffer(stream);
        if (!buffer) return;
        const spa_data& block = buffer->buffer->datas[0];
        const spa_chunk& chunk = *block.chunk;
        constexpr size_t sampleBytes = sizeof(float) * SoundBlock::channels;
        if (block.data && chunk.offset <= block.maxsize &&
            chunk.size <= block.maxsize - chunk.offset && chunk.offset % alignof(float) == 0) {
            const size_t count = chunk.size / sampleBytes;
            const auto* const samples = reinterpret_cast<const float*>(
                static_cast<const uint8_t*>(block.data) + chunk.offset);
            // The last of them was heard just now.
            const double seconds = SystemClock::shared().uptimeSeconds() -
                                   static_cast<double>(count) / SoundBlock::rate;
            if (count > 0)
                handler({{samples, count * SoundBlock::channels},
                         MediaTime::fromNanos(std::llround(seconds * 1e9))});
        }
        pw_stream_queue_buffer(stream, buffer);
    }

    const Logger log{"Microphone"};
    const std::string target;
    const Handler handler;
    pw_stream_events events{};
    pw_stream* stream = nullptr;
    spa_hook hook{};
    Connection connection; // last: its thread uses the others
};

Microphone::Microphone(std::string target) : _target(std::move(target)) {}

Microphone::~Microphone() = default;

void Microphone::start(Handler handler) {
    _running = std::make_unique<Running>(_target, std::move(handler));
}

void Microphone::stop() {
    _running = nullptr;
}

} // namespace lanternfly::pipewire
