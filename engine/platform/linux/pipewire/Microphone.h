// The sound that PipeWire's default source hears, usually the microphone.
// Threads: bound; blocks come on a thread of its own.
#pragma once

#include <memory>
#include <string>

#include "platform/SoundSource.h"

namespace lanternfly::pipewire {

class Microphone final : public SoundSource {
public:
    // `target` names another source than the default.
    explicit Microphone(std::string target = {});
    ~Microphone() override;

    // Throws std::runtime_error when PipeWire's library is not complete on this machine.
    void start(Handler handler) override;
    void stop() override;

private:
    struct Running;

    const std::string _target;
    std::unique_ptr<Running> _running; // null while stopped
};

} // namespace lanternfly::pipewire
