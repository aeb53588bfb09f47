// The microphone of a PipeWire session of the test's own, into which a tone is played.
#include "platform/linux/pipewire/Microphone.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <numbers>
#include <utility>

#include <gtest/gtest.h>
#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

#include "platform/linux/pipewire/Connection.h"
#include "support/PrivatePipeWire.h"

namespace lanternfly::test {
namespace {

// An Audio/Source node that hears a tone of half the full loudness, in one channel.
class ToneSource {
public:
    ToneSource()
        : _connection("tone", {.connected = [this](pw_core& core) { open(core); },
                               .disconnected = [this] { close(); },
                               .unreachable = {}}) {
        _events.version = PW_VERSION_STREAM_EVENTS;
        _events.process = [](void* self) { static_cast<ToneSource*>(self)->fill(); };
        _connection.start();
    }
    ~ToneSource() { _connection.stop(); }

private:
    void open(pw_core& core) {
        _stream = pw_stream_new(&core, "tone",
                                pw_properties_new(PW_KEY_MEDIA_CLASS, "Audio/Source",
                                                  PW_KEY_NODE_NAME, "Tone", nullptr));
        pw_stream_add_listener(_stream, &_hook, &_events, this);
        spa_audio_info_raw format{};
        format.format = SPA_AUDIO_FORMAT_F32;
        format.rate = SoundBlock::rate;
        format.channels = 1;
        format.position[0] = SPA_AUDIO_CHANNEL_MONO;
        uint8_t bytes[1024];
        spa_pod_builder builder{bytes, sizeof bytes, 0, {}, {}};
        const spa_pod* parameter =
            spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);
        pw_stream_connect(_stream, PW_DIRECTION_OUTPUT, PW_ID_ANY, PW_STREAM_FLAG_MAP_BUFFERS,
                          &parameter, 1);
    }
    void close() {
        spa_hook_remove(&_hook);
        pw_stream_destroy(std::exchange(_stream, nullptr));
    }
    void fill() {
        pw_buffer* const buffer = pw_stream_dequeue_buffer(_stream);
        if (!buffer) return;
        spa_data& block = buffer->buffer->datas[0];
        auto* const samples = static_cast<float*>(block.data);
        const size_t room = samples ? block.maxsize / sizeof(float) : 0;
        const size_t count = std::min<size_t>(room, 256);
        for (size_t i = 0; i < count; ++i)
            samples[i] = static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * 1000 *
                                                           static_cast<double>(_index++) / 48000));
        *block.chunk = {0, static_cast<uint32_t>(count * sizeof(float)), sizeof(float), 0};
        pw_stream_queue_buffer(_stream, buffer);
    }

    pw_stream_events _events{};
    pw_stream* _stream = nullptr;
    spa_hook _hook{};
    uint64_t _index = 0;
    pipewire::Connection _connection; // last: its thread uses the others
};

TEST(MicrophoneTest, HearsTheSourceAndItsTimesGoOn) {
    if (const std::string missing = PrivatePipeWire::missing(); !missing.empty())
        GTEST_SKIP() << missing;
    PrivatePipeWire session;
    ASSERT_TRUE(session.start()) << session.log();
    const ToneSource tone;

    std::mutex mutex;
    std::condition_variable changed;
    size_t blocks = 0;
    float loudest = 0;
    double first = 0, last = 0;
    pipewire::Microphone microphone;
    microphone.start([&](const SoundBlock& block) {
        const std::lock_guard guard(mutex);
        EXPECT_EQ(block.samples.size() % SoundBlock::channels, 0u);
        for (const float sample : block.samples)
            loudest = std::max(loudest, std::abs(sample));
        if (blocks == 0) first = block.pts.seconds();
        last = block.pts.seconds();
        ++blocks;
        changed.notify_all();
    });
    {
        std::unique_lock lock(mutex);
        EXPECT_TRUE(changed.wait_for(lock, std::chrono::seconds(60),
                                     [&] { return loudest > 0.3f && blocks > 20; }))
            << blocks << " blocks, loudest " << loudest << "\n"
            << session.log();
    }
    microphone.stop();
    EXPECT_GT(last, first);
    EXPECT_LE(loudest, 0.6f);
}

} // namespace
} // namespace lanternfly::test
