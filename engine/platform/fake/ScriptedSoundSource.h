// A microphone that a test speaks into.
// Threads: safe.
#pragma once

#include <mutex>
#include <utility>

#include "platform/SoundSource.h"

namespace lanternfly {

class ScriptedSoundSource final : public SoundSource {
public:
    void start(Handler handler) override {
        const std::lock_guard guard(_mutex);
        _handler = std::move(handler);
    }
    void stop() override {
        const std::lock_guard guard(_mutex);
        _handler = nullptr;
    }
    // Handed on at once; nobody hears it before the start and after the stop.
    void hear(std::span<const float> samples, MediaTime pts) {
        const std::lock_guard guard(_mutex);
        if (_handler) _handler({samples, pts});
    }

private:
    std::mutex _mutex;
    Handler _handler;
};

} // namespace lanternfly
