#include "platform/linux/video/VideoFileReader.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

extern "C" {
#include <libavutil/display.h>
}

namespace lanternfly {
namespace {

// 8K; a larger picture is a mistake or an attack on memory.
constexpr int64_t maxPictureArea = int64_t{7680} * 4320;
// Between two frames. A larger step comes from broken time stamps, not from a camera.
constexpr double maxStepSeconds = 600;
constexpr VideoRate fallbackRate{30, 1};

PictureConverter::Turn turnOf(const AVStream& stream) {
    size_t bytes = 0;
    const uint8_t* data = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &bytes);
    if (!data || bytes < 9 * sizeof(int32_t)) return PictureConverter::Turn::none;
    // libav gives the anticlockwise angle by which the stored picture is to be turned.
    const double anticlockwise = av_display_rotation_get(reinterpret_cast<const int32_t*>(data));
    if (!std::isfinite(anticlockwise)) return PictureConverter::Turn::none;
    const int quarters = static_cast<int>(std::lround(-anticlockwise / 90.0)) & 3;
    return static_cast<PictureConverter::Turn>(quarters * 90);
}

VideoRate rateOf(const AVStream& stream) {
    for (const AVRational rate : {stream.avg_frame_rate, stream.r_frame_rate}) {
        if (rate.num <= 0 || rate.den <= 0) continue;
        const double perSecond = av_q2d(rate);
        if (perSecond >= 1 && perSecond <= 1000) return {rate.num, rate.den};
    }
    return fallbackRate;
}

} // namespace

std::unique_ptr<VideoFileReader> VideoFileReader::open(const std::filesystem::path& file,
                                                       int maxFramesOut) {
    return open(file, libav::Content::video, maxFramesOut);
}

PixelBufferRef VideoFileReader::picture(const std::filesystem::path& file) {
    const auto frame = open(file, libav::Content::picture, 1)->next();
    if (!frame)
        throw VideoError(VideoError::Kind::noPicture,
                         fmt::format("{} holds no picture that can be read", file.string()));
    return frame->picture;
}

std::unique_ptr<VideoFileReader> VideoFileReader::open(const std::filesystem::path& file,
                                                       libav::Content content, int maxFramesOut) {
    auto input = libav::openInput(file, content);
    const int index = av_find_best_stream(input.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (index < 0 || (input->streams[index]->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0)
        throw VideoError(
            VideoError::Kind::noPicture,
            fmt::format("{} has no moving picture; name a file with video in it", file.string()));

    const AVStream& stream = *input->streams[index];
    const AVCodec* codec = avcodec_find_decoder(stream.codecpar->codec_id);
    libav::Codec decoder(codec ? avcodec_alloc_context3(codec) : nullptr);
    if (!decoder || avcodec_parameters_to_context(decoder.get(), stream.codecpar) < 0)
        throw VideoError(VideoError::Kind::noPicture,
                         fmt::format("{} holds {} video, which cannot be decoded here; convert it "
                                     "to H.264",
                                     file.string(), avcodec_get_name(stream.codecpar->codec_id)));
    // One thread: what is concealed in a damaged picture must not depend on timing.
    decoder->thread_count = 1;
    decoder->max_pixels = maxPictureArea;
    decoder->pkt_timebase = stream.time_base;
    if (const int64_t area = int64_t{decoder->width} * decoder->height; area > maxPictureArea)
        throw VideoError(VideoError::Kind::tooLarge,
                         fmt::format("{} is {}x{}: larger than 8K; scale it down first",
                                     file.string(), decoder->width, decoder->height));
    if (const int opened = avcodec_open2(decoder.get(), codec, nullptr); opened < 0)
        throw VideoError(VideoError::Kind::noPicture,
                         fmt::format("cannot decode the video in {}: {}; convert it to H.264",
                                     file.string(), libav::errorText(opened)));
    return std::unique_ptr<VideoFileReader>(
        new VideoFileReader(file, std::move(input), index, std::move(decoder), maxFramesOut));
}

VideoFileReader::VideoFileReader(std::filesystem::path file, libav::Input input, int stream,
                                 libav::Codec decoder, int maxFramesOut)
    : _file(std::move(file)), _input(std::move(input)),
      _stream(_input->streams[static_cast<unsigned>(stream)]), _decoder(std::move(decoder)),
      _packet(av_packet_alloc()), _frame(av_frame_alloc()),
      _converter(turnOf(*_stream), maxFramesOut) {
    for (unsigned i = 0; i < _input->nb_streams; ++i)
        if (_input->streams[i] != _stream) _input->streams[i]->discard = AVDISCARD_ALL;

    const AVCodecParameters& stored = *_stream->codecpar;
    const auto turn = turnOf(*_stream);
    const bool onItsSide =
        turn == PictureConverter::Turn::by90 || turn == PictureConverter::Turn::by270;
    _info.width = onItsSide ? stored.height : stored.width;
    _info.height = onItsSide ? stored.width : stored.height;
    const AVRational pixel =
        av_guess_sample_aspect_ratio(_input.get(), const_cast<AVStream*>(_stream), nullptr);
    const double pixelAspect = pixel.num > 0 && pixel.den > 0 ? av_q2d(pixel) : 1.0;
    const double storedAspect =
        stored.height > 0 ? pixelAspect * stored.width / stored.height : 1.0;
    _info.displayAspect = onItsSide ? 1.0 / storedAspect : storedAspect;
    _info.frameRate = rateOf(*_stream);
    _info.frameCount = _stream->nb_frames;
    if (_info.frameCount <= 0 && _input->duration > 0)
        _info.frameCount = std::llround(static_cast<double>(_input->duration) / AV_TIME_BASE *
                                        _info.frameRate.framesPerSecond());
    _startTicks = av_rescale_q(libav::startMicros(*_input), AV_TIME_BASE_Q, _stream->time_base);
}

std::optional<VideoFrame> VideoFileReader::next() {
    while (!_ended) {
        const int received = avcodec_receive_frame(_decoder.get(), _frame.get());
        if (received == AVERROR(EAGAIN)) {
            if (!feedDecoder()) _ended = true;
            continue;
        }
        if (received == AVERROR_EOF) {
            _ended = true;
            break;
        }
        if (received < 0) {
            ++_framesDamaged;
            if (_inputEnded) _ended = true;
            continue;
        }
        if (_frame->flags & AV_FRAME_FLAG_CORRUPT || _frame->decode_error_flags != 0)
            ++_framesDamaged;
        ++_framesRead;
        VideoFrame out{_converter.convert(*_frame), timeOf(*_frame)};
        av_frame_unref(_frame.get());
        return out;
    }
    if (_framesRead == 0)
        throw VideoError(VideoError::Kind::noPicture,
                         fmt::format("{} has no picture that can be decoded; record or export it "
                                     "again",
                                     _file.string()));
    return std::nullopt;
}

// Hands the decoder one packet, or the news that there are no more. False once even that was told.
bool VideoFileReader::feedDecoder() {
    if (_inputEnded) return false;
    int read = 0;
    do {
        av_packet_unref(_packet.get());
        read = av_read_frame(_input.get(), _packet.get());
    } while (read >= 0 && _packet->stream_index != _stream->index);

    if (read < 0) {
        _inputEnded = true;
        if (read != AVERROR_EOF) _readFailure = read;
        avcodec_send_packet(_decoder.get(), nullptr);
        return true;
    }
    if (const int sent = avcodec_send_packet(_decoder.get(), _packet.get());
        sent < 0 && sent != AVERROR(EAGAIN))
        ++_framesDamaged;
    av_packet_unref(_packet.get());
    return true;
}

int64_t VideoFileReader::ticks(double seconds) const {
    return std::max<int64_t>(1, std::llround(seconds / av_q2d(_stream->time_base)));
}

// Broken files have frames without time, or with the same, an earlier or an absurd one; such a
// frame follows the last at the nominal rate.
MediaTime VideoFileReader::timeOf(const AVFrame& frame) {
    const int64_t last = _lastTicks.value_or(0);
    const int64_t nominal = ticks(1.0 / _info.frameRate.framesPerSecond());
    const int64_t widest = ticks(maxStepSeconds);
    int64_t now = _lastTicks ? last + nominal : 0;
    if (const int64_t stamp = frame.best_effort_timestamp;
        stamp != AV_NOPTS_VALUE && std::abs(stamp / 2) < INT64_MAX / 4) {
        const int64_t fromStart = stamp - _startTicks;
        const bool rises = _lastTicks ? fromStart > last : fromStart >= 0;
        if (rises && fromStart - last <= widest) now = fromStart;
    }
    _lastTicks = now;
    return MediaTime::make(now * _stream->time_base.num, _stream->time_base.den);
}

std::string VideoFileReader::damage() const {
    if (!_ended) return {};
    if (_readFailure != 0)
        return fmt::format("{} breaks off after {} frames: {}", _file.string(), _framesRead,
                           libav::errorText(_readFailure));
    // Counts in a header are approximate for some containers; a whole second is not rounding.
    const auto second = static_cast<int64_t>(std::ceil(_info.frameRate.framesPerSecond()));
    const bool isExact = _stream->nb_frames > 0;
    if (_info.frameCount - _framesRead > (isExact ? 0 : second))
        return fmt::format("{} ends early: {} of {} frames", _file.string(), _framesRead,
                           _info.frameCount);
    if (_framesDamaged > 0)
        return fmt::format("{} is damaged: {} of {} frames could not be decoded cleanly",
                           _file.string(), _framesDamaged, _framesRead + _framesDamaged);
    return {};
}

} // namespace lanternfly
