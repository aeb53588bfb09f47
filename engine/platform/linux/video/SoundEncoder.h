// Live sound as an AAC stream of a file. Sound that comes late or not at all is silence, so that it
// stays in step with the picture.
// Threads: bound.
#pragma once

#include <span>
#include <vector>

#include "platform/SoundSource.h"
#include "platform/linux/video/Libav.h"

namespace lanternfly {

class SoundEncoder {
public:
    // Adds a stream to `output`, whose header is still to be written. Throws VideoError.
    explicit SoundEncoder(AVFormatContext& output);

    // Samples of a SoundBlock that belong to this time from the start of the file. Returns libav's
    // code, 0 when all is well.
    int write(std::span<const float> samples, double seconds);
    // Fills up to this time with silence and completes the stream.
    int finish(double seconds);

private:
    int advanceTo(int64_t position);
    int append(const float* samples, int64_t count); // null: silence
    int encode(const AVFrame* frame);

    AVFormatContext& _output;
    const AVStream* _stream = nullptr; // owned by the output
    libav::Codec _encoder;
    libav::Frame _frame;
    libav::Packet _packet;
    int _filled = 0;       // samples of the frame, of each channel
    int64_t _position = 0; // samples so far
};

} // namespace lanternfly
