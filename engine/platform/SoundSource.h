// Port: where live sound comes from, such as the microphone.
// Threads: bound; blocks come on a thread of the source's own.
#pragma once

#include <functional>
#include <span>

#include "base/MediaTime.h"

namespace lanternfly {

struct SoundBlock {
    static constexpr int rate = 48'000; // samples a second of each channel
    static constexpr int channels = 2;

    std::span<const float> samples; // left, right, left …; good during the call
    MediaTime pts;                  // of the first sample, in the time of the frames
};

class SoundSource {
public:
    using Handler = std::function<void(const SoundBlock&)>;

    virtual ~SoundSource() = default;
    // The handler returns at once. A source without a device is silent until there is one.
    virtual void start(Handler handler) = 0;
    // No block comes after it.
    virtual void stop() = 0;
};

} // namespace lanternfly
