#include "platform/linux/video/SoundCopier.h"

#include <limits>

#include <fmt/format.h>

namespace lanternfly {

SoundCopier::SoundCopier(const std::filesystem::path& source, AVFormatContext& output,
                         std::vector<std::string>& notes)
    : _source(libav::openInput(source)), _output(output), _packet(av_packet_alloc()),
      _routes(_source->nb_streams) {
    for (unsigned i = 0; i < _source->nb_streams; ++i) {
        AVStream& stream = *_source->streams[i];
        stream.discard = AVDISCARD_ALL;
        const AVCodecParameters& parameters = *stream.codecpar;
        if (parameters.codec_type != AVMEDIA_TYPE_AUDIO) continue;
        const bool isUsable =
            parameters.sample_rate > 0 && parameters.ch_layout.nb_channels > 0 &&
            avformat_query_codec(output.oformat, parameters.codec_id, FF_COMPLIANCE_NORMAL) == 1;
        AVStream* target = isUsable ? avformat_new_stream(&output, nullptr) : nullptr;
        if (!target || avcodec_parameters_copy(target->codecpar, &parameters) < 0) {
            notes.push_back(fmt::format("sound stream {} ({}) does not fit into {} and is left "
                                        "out; an .mkv file can carry it",
                                        i, avcodec_get_name(parameters.codec_id),
                                        output.oformat->name));
            continue;
        }
        target->codecpar->codec_tag = 0; // the tag of one container means nothing in another
        target->time_base = stream.time_base;
        target->disposition = stream.disposition;
        stream.discard = AVDISCARD_DEFAULT;
        _routes[i].target = target;
        _hasStreams = true;
    }
    _ended = !_hasStreams;
}

int SoundCopier::copyUntil(double seconds) {
    while (fetch() && fetchedSeconds() < seconds)
        if (const int written = writeFetched(); written < 0) return written;
    return 0;
}

int SoundCopier::copyRest() {
    return copyUntil(std::numeric_limits<double>::infinity());
}

bool SoundCopier::fetch() {
    while (!_isFetched && !_ended) {
        if (av_read_frame(_source.get(), _packet.get()) < 0) {
            _ended = true;
            break;
        }
        const auto index = static_cast<size_t>(_packet->stream_index);
        _isFetched = index < _routes.size() && _routes[index].target &&
                     (_packet->dts != AV_NOPTS_VALUE || _packet->pts != AV_NOPTS_VALUE);
        if (!_isFetched) av_packet_unref(_packet.get());
    }
    return _isFetched;
}

double SoundCopier::fetchedSeconds() const {
    const AVStream& stream = *_source->streams[_packet->stream_index];
    const int64_t ticks = _packet->dts != AV_NOPTS_VALUE ? _packet->dts : _packet->pts;
    return static_cast<double>(ticks) * av_q2d(stream.time_base) -
           static_cast<double>(libav::startMicros(*_source)) / AV_TIME_BASE;
}

int SoundCopier::writeFetched() {
    _isFetched = false;
    Route& route = _routes[static_cast<size_t>(_packet->stream_index)];
    const AVRational from = _source->streams[_packet->stream_index]->time_base;
    const int64_t start = av_rescale_q(libav::startMicros(*_source), AV_TIME_BASE_Q, from);
    if (_packet->dts == AV_NOPTS_VALUE) _packet->dts = _packet->pts;
    if (_packet->pts == AV_NOPTS_VALUE) _packet->pts = _packet->dts;
    _packet->dts -= start;
    _packet->pts -= start;
    av_packet_rescale_ts(_packet.get(), from, route.target->time_base);
    // Containers demand rising times; a packet of a broken file that goes back is left out.
    if (_packet->dts <= route.lastTicks || _packet->pts < _packet->dts) {
        av_packet_unref(_packet.get());
        return 0;
    }
    route.lastTicks = _packet->dts;
    _packet->stream_index = route.target->index;
    _packet->pos = -1;
    return av_interleaved_write_frame(&_output, _packet.get());
}

} // namespace lanternfly
