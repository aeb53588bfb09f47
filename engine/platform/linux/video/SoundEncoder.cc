#include "platform/linux/video/SoundEncoder.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

namespace lanternfly {
namespace {

constexpr int bitsPerSecond = 160'000;
// Blocks come with the jitter of their threads; nobody hears or sees a tenth of a second.
constexpr int64_t toleranceSamples = SoundBlock::rate / 10;

void require(int code) {
    if (code < 0)
        throw VideoError(VideoError::Kind::failed,
                         fmt::format("cannot record sound: {}", libav::errorText(code)));
}

int64_t positionOf(double seconds) {
    return std::llround(seconds * SoundBlock::rate);
}

} // namespace

SoundEncoder::SoundEncoder(AVFormatContext& output)
    : _output(output), _frame(av_frame_alloc()), _packet(av_packet_alloc()) {
    const AVCodec* const codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    if (!codec)
        throw VideoError(VideoError::Kind::encoderMissing,
                         "this machine's libavcodec has no AAC encoder; record without sound");
    _encoder.reset(avcodec_alloc_context3(codec));
    AVCodecContext& encoder = *_encoder;
    encoder.sample_fmt = AV_SAMPLE_FMT_FLTP;
    encoder.sample_rate = SoundBlock::rate;
    av_channel_layout_default(&encoder.ch_layout, SoundBlock::channels);
    encoder.bit_rate = bitsPerSecond;
    encoder.time_base = {1, SoundBlock::rate};
    encoder.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    require(avcodec_open2(&encoder, codec, nullptr));
    AVStream* const stream = avformat_new_stream(&output, nullptr);
    require(stream ? avcodec_parameters_from_context(stream->codecpar, &encoder) : AVERROR(ENOMEM));
    stream->time_base = encoder.time_base;
    _stream = stream;

    _frame->format = encoder.sample_fmt;
    _frame->sample_rate = encoder.sample_rate;
    _frame->nb_samples = encoder.frame_size;
    require(av_channel_layout_copy(&_frame->ch_layout, &encoder.ch_layout));
    require(av_frame_get_buffer(_frame.get(), 0));
}

int SoundEncoder::write(std::span<const float> samples, double seconds) {
    const auto count = static_cast<int64_t>(samples.size() / SoundBlock::channels);
    const int64_t position = positionOf(seconds);
    int64_t early = 0; // samples for which the time is over
    if (position - _position > toleranceSamples) {
        if (const int code = advanceTo(position); code < 0) return code;
    } else if (_position - position > toleranceSamples) {
        early = std::min(_position - position, count);
    }
    return append(samples.data() + early * SoundBlock::channels, count - early);
}

int SoundEncoder::finish(double seconds) {
    if (const int code = advanceTo(positionOf(seconds)); code < 0) return code;
    if (_filled > 0)
        if (const int code = append(nullptr, _frame->nb_samples - _filled); code < 0) return code;
    return encode(nullptr);
}

int SoundEncoder::advanceTo(int64_t position) {
    return append(nullptr, std::max<int64_t>(position - _position, 0));
}

int SoundEncoder::append(const float* samples, int64_t count) {
    while (count > 0) {
        if (_filled == 0)
            if (const int code = av_frame_make_writable(_frame.get()); code < 0) return code;
        const auto taken = static_cast<int>(std::min<int64_t>(count, _frame->nb_samples - _filled));
        for (int channel = 0; channel < SoundBlock::channels; ++channel) {
            auto* const to = reinterpret_cast<float*>(_frame->data[channel]) + _filled;
            for (int i = 0; i < taken; ++i)
                to[i] = samples ? samples[i * SoundBlock::channels + channel] : 0;
        }
        if (samples) samples += taken * SoundBlock::channels;
        count -= taken;
        _filled += taken;
        _position += taken;
        if (_filled < _frame->nb_samples) continue;
        _frame->pts = _position - _filled;
        _filled = 0;
        if (const int code = encode(_frame.get()); code < 0) return code;
    }
    return 0;
}

int SoundEncoder::encode(const AVFrame* frame) {
    if (const int code = avcodec_send_frame(_encoder.get(), frame); code < 0) return code;
    for (;;) {
        const int received = avcodec_receive_packet(_encoder.get(), _packet.get());
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) return 0;
        if (received < 0) return received;
        _packet->stream_index = _stream->index;
        av_packet_rescale_ts(_packet.get(), _encoder->time_base, _stream->time_base);
        if (const int code = av_interleaved_write_frame(&_output, _packet.get()); code < 0)
            return code;
    }
}

} // namespace lanternfly
