#include "platform/linux/video/VideoFileWriter.h"

#include <algorithm>

#include <fmt/format.h>
#include <hwy/targets.h>

extern "C" {
#include <libavutil/opt.h>
}

namespace lanternfly {
namespace {

// Fixed, because x264's choices depend on it; four are enough for 1080p in real time.
constexpr int encoderThreads = 4;
// The customary clock of video transport; whole at 24, 25, 30, 50 and 60 frames a second.
constexpr AVRational clockTick{1, 90'000};
// Fast enough for two cores, and visually clean for slides and faces.
constexpr const char* encoderPreset = "veryfast";
// Leaves the processor to the picture that is being made.
constexpr const char* liveEncoderPreset = "superfast";
constexpr const char* constantRateFactor = "20";
constexpr double keyFrameSeconds = 2;
// What a killed program loses of a file that is kept, at most.
constexpr const char* clusterMs = "1000";
constexpr const char* fragmentMicros = "1000000";
// How long the muxer waits for a silent stream before it goes on without it.
constexpr int64_t interleaveMicros = 1'000'000;

// Empty when the name fits no container.
const char* containerOf(const std::filesystem::path& file) {
    const auto extension = file.extension();
    if (extension == ".mp4") return "mp4";
    if (extension == ".mkv") return "matroska";
    return "";
}

bool isMatroska(const std::filesystem::path& file) {
    return file.extension() == ".mkv";
}

// Of use as far as it got.
bool isKept(const VideoWriterOptions& options) {
    return options.isLive || isMatroska(options.file);
}

void validate(const VideoWriterOptions& options) {
    const auto bad = [](const std::string& text) {
        return VideoError(VideoError::Kind::badRequest, text);
    };
    if (*containerOf(options.file) == '\0')
        throw bad(fmt::format("cannot write {}: a video is an .mp4 or an .mkv file; choose one of "
                              "these names",
                              options.file.string()));
    if (options.width < 16 || options.height < 16 || options.width > 7680 ||
        options.height > 7680 || options.width % 2 != 0 || options.height % 2 != 0)
        throw bad(fmt::format("a video of {}x{} cannot be written; choose even sides from 16 to "
                              "7680",
                              options.width, options.height));
    if (options.frameRate.numerator <= 0 || options.frameRate.denominator <= 0)
        throw bad("a video needs a frame rate above 0");
}

} // namespace

void VideoFileWriter::CloseOutput::operator()(AVFormatContext* context) const {
    avio_closep(&context->pb);
    avformat_free_context(context);
}

std::unique_ptr<VideoFileWriter> VideoFileWriter::create(const VideoWriterOptions& options) {
    validate(options);
    libav::silence();
    try {
        return std::unique_ptr<VideoFileWriter>(new VideoFileWriter(options));
    } catch (const OutputFile::Error& error) {
        throw VideoError(VideoError::Kind::cannotWrite, error.what());
    }
}

VideoFileWriter::VideoFileWriter(const VideoWriterOptions& options)
    : _options(options),
      _file(std::make_unique<OutputFile>(options.file, isKept(options)
                                                           ? OutputFile::WhenAbandoned::keep
                                                           : OutputFile::WhenAbandoned::remove)),
      _frame(av_frame_alloc()), _packet(av_packet_alloc()) {
    openEncoder();
    openContainer(options.soundFrom.has_value());
    int written = writeHeader();
    if (written < 0 && _sound) {
        _notes.push_back(fmt::format("the sound does not fit into {} and is left out ({})",
                                     options.file.string(), libav::errorText(written)));
        openContainer(false);
        written = writeHeader();
    }
    check(written);
}

// A file that is kept though nobody finished it still gets what was under way.
VideoFileWriter::~VideoFileWriter() {
    if (_container && isKept(_options)) av_write_trailer(_container.get());
}

void VideoFileWriter::openEncoder() {
    const AVCodec* codec = avcodec_find_encoder_by_name("libx264");
    if (!codec)
        throw VideoError(VideoError::Kind::encoderMissing,
                         "this machine's libavcodec has no x264 encoder; install the "
                         "distribution's libavcodec package with H.264 support");
    _encoder.reset(avcodec_alloc_context3(codec));
    AVCodecContext& encoder = *_encoder;
    encoder.width = _options.width;
    encoder.height = _options.height;
    encoder.pix_fmt = AV_PIX_FMT_YUV420P;
    encoder.time_base = clockTick;
    encoder.framerate = {_options.frameRate.numerator, _options.frameRate.denominator};
    encoder.gop_size =
        std::max(1, static_cast<int>(keyFrameSeconds * _options.frameRate.framesPerSecond()));
    encoder.thread_count = encoderThreads;
    encoder.color_range = AVCOL_RANGE_MPEG;
    encoder.colorspace = AVCOL_SPC_BT709;
    encoder.color_primaries = AVCOL_PRI_BT709;
    encoder.color_trc = AVCOL_TRC_BT709;
    encoder.flags |= AV_CODEC_FLAG_GLOBAL_HEADER | AV_CODEC_FLAG_BITEXACT;
    av_opt_set(encoder.priv_data, "preset", _options.isLive ? liveEncoderPreset : encoderPreset, 0);
    av_opt_set(encoder.priv_data, "crf", constantRateFactor, 0);
    // With AVX-512 x264's lookahead reads memory that nobody wrote, and the same pictures give
    // other bytes from run to run.
    if ((hwy::SupportedTargets() & HWY_AVX3) != 0)
        av_opt_set(encoder.priv_data, "x264-params", "asm=avx2", 0);
    check(avcodec_open2(&encoder, codec, nullptr));

    _frame->format = encoder.pix_fmt;
    _frame->width = encoder.width;
    _frame->height = encoder.height;
    _frame->color_range = encoder.color_range;
    _frame->colorspace = encoder.colorspace;
    check(av_frame_get_buffer(_frame.get(), 0));

    _scaler.reset(sws_getContext(encoder.width, encoder.height, AV_PIX_FMT_BGRA, encoder.width,
                                 encoder.height, encoder.pix_fmt,
                                 SWS_BILINEAR | SWS_ACCURATE_RND | SWS_BITEXACT, nullptr, nullptr,
                                 nullptr));
    if (!_scaler) check(AVERROR(ENOMEM));
    constexpr int unity = 1 << 16;
    sws_setColorspaceDetails(_scaler.get(), sws_getCoefficients(SWS_CS_DEFAULT), 1,
                             sws_getCoefficients(SWS_CS_ITU709), 0, 0, unity, unity);
}

void VideoFileWriter::openContainer(bool withSound) {
    _sound.reset();
    AVFormatContext* context = nullptr;
    check(avformat_alloc_output_context2(&context, nullptr, containerOf(_options.file),
                                         ("file:" + _file->workPath().string()).c_str()));
    _container.reset(context);
    context->flags |= AVFMT_FLAG_BITEXACT;
    context->flush_packets = 1;
    context->max_interleave_delta = interleaveMicros;
    _stream = avformat_new_stream(context, nullptr);
    if (!_stream) check(AVERROR(ENOMEM));
    check(avcodec_parameters_from_context(_stream->codecpar, _encoder.get()));
    _stream->time_base = clockTick;
    _stream->avg_frame_rate = _encoder->framerate;
    if (withSound) {
        _sound = std::make_unique<SoundCopier>(*_options.soundFrom, *context, _notes);
        if (!_sound->hasStreams()) _sound.reset();
    }
    if (_options.hasLiveSound) _liveSound = std::make_unique<SoundEncoder>(*context);
    check(avio_open(&context->pb, context->url, AVIO_FLAG_WRITE));
}

int VideoFileWriter::writeHeader() {
    AVDictionary* options = nullptr;
    if (isMatroska(_options.file)) {
        av_dict_set(&options, "cluster_time_limit", clusterMs, 0);
    } else if (_options.isLive) {
        av_dict_set(&options, "movflags", "frag_keyframe+empty_moov+default_base_moof", 0);
        av_dict_set(&options, "frag_duration", fragmentMicros, 0);
    } else {
        av_dict_set(&options, "movflags", "faststart", 0);
    }
    const int written = avformat_write_header(_container.get(), &options);
    av_dict_free(&options);
    return written;
}

void VideoFileWriter::write(const PixelBuffer& picture, MediaTime pts) {
    if (picture.width() != _options.width || picture.height() != _options.height ||
        picture.format() != PixelFormat::bgra8)
        throw VideoError(VideoError::Kind::badRequest, "a picture of another size or format");
    // The encoder refuses times that do not rise; half a tick may round to the same one.
    const int64_t ticks = std::max(
        _lastTicks + 1, av_rescale_q(pts.value, {1, std::max(pts.timescale, 1)}, clockTick));
    _lastTicks = ticks;

    check(av_frame_make_writable(_frame.get()));
    const uint8_t* rows[] = {picture.data()};
    const int strides[] = {static_cast<int>(picture.strideBytes())};
    sws_scale(_scaler.get(), rows, strides, 0, picture.height(), _frame->data, _frame->linesize);
    _frame->pts = ticks;
    check(avcodec_send_frame(_encoder.get(), _frame.get()));
    drainEncoder();
}

void VideoFileWriter::writeSound(std::span<const float> samples, double seconds) {
    if (_liveSound) check(_liveSound->write(samples, seconds));
}

void VideoFileWriter::drainEncoder() {
    for (;;) {
        const int received = avcodec_receive_packet(_encoder.get(), _packet.get());
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) return;
        check(received);
        _packet->stream_index = _stream->index;
        _packet->duration = av_rescale_q(1, av_inv_q(_encoder->framerate), clockTick);
        if (_sound) check(_sound->copyUntil(static_cast<double>(_packet->dts) * av_q2d(clockTick)));
        av_packet_rescale_ts(_packet.get(), clockTick, _stream->time_base);
        check(av_interleaved_write_frame(_container.get(), _packet.get()));
        check(_container->pb->error);
    }
}

void VideoFileWriter::finish(Sound sound) {
    check(avcodec_send_frame(_encoder.get(), nullptr));
    drainEncoder();
    if (_sound) {
        const double end = static_cast<double>(_lastTicks) * av_q2d(clockTick) +
                           1.0 / _options.frameRate.framesPerSecond();
        check(sound == Sound::whole ? _sound->copyRest() : _sound->copyUntil(end));
    }
    if (_liveSound)
        check(_liveSound->finish(static_cast<double>(std::max<int64_t>(_lastTicks, 0)) *
                                 av_q2d(clockTick)));
    check(av_write_trailer(_container.get()));
    check(_container->pb->error);
    check(avio_closep(&_container->pb));
    _container.reset();
    try {
        _file->commit();
    } catch (const OutputFile::Error& error) {
        throw VideoError(VideoError::Kind::cannotWrite, error.what());
    }
}

void VideoFileWriter::check(int code) const {
    if (code >= 0) return;
    const std::string file = _options.file.string();
    if (code == AVERROR(ENOSPC) || code == AVERROR(EFBIG) || code == AVERROR(EDQUOT))
        throw VideoError(
            VideoError::Kind::diskFull,
            fmt::format("cannot go on writing {}: {}; {} make room and run again", file,
                        libav::errorText(code),
                        isKept(_options) ? "what is written stays;" : "nothing was kept;"));
    throw VideoError(VideoError::Kind::failed,
                     fmt::format("cannot write {}: {}", file, libav::errorText(code)));
}

} // namespace lanternfly
