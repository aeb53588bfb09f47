#include "platform/linux/video/Libav.h"

#include <array>

#include <fmt/format.h>

namespace lanternfly::libav {
namespace {

constexpr const char* containers = "mov,matroska,webm,avi,mpegts,mpeg,flv,ogg,asf,nut,mxf,"
                                   "yuv4mpegpipe,h264,hevc,mjpeg,wav,mp3,aac,"
                                   "flac";
constexpr const char* pictures = "image2,jpeg_pipe,png_pipe,webp_pipe";

} // namespace

std::string errorText(int code) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(code, text.data(), text.size());
    return text.data();
}

void silence() {
    av_log_set_level(AV_LOG_QUIET);
}

Input openInput(const std::filesystem::path& file, Content content) {
    silence();
    const bool isVideo = content == Content::video;
    std::error_code failure;
    if (std::filesystem::is_directory(file, failure))
        throw VideoError(VideoError::Kind::notAVideo,
                         fmt::format("{} is a folder: name a {} file", file.string(),
                                     isVideo ? "video" : "picture"));

    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "file", 0);
    av_dict_set(&options, "format_whitelist", isVideo ? containers : pictures, 0);
    // A name such as "%03d.png" is one file's, not that of a row of files.
    if (!isVideo) av_dict_set(&options, "pattern_type", "none", 0);
    AVFormatContext* context = nullptr;
    // The prefix keeps a name such as "http:x" a file's name.
    const int opened =
        avformat_open_input(&context, ("file:" + file.string()).c_str(), nullptr, &options);
    av_dict_free(&options);
    if (opened == AVERROR(ENOENT) || opened == AVERROR(EACCES) || opened == AVERROR(EPERM))
        throw VideoError(VideoError::Kind::notFound,
                         fmt::format("cannot read {}: {}; check the path and your rights to it",
                                     file.string(), errorText(opened)));
    if (opened < 0 && !isVideo)
        throw VideoError(VideoError::Kind::notAVideo,
                         fmt::format("cannot read {}: it is no JPEG, PNG or WebP picture ({})",
                                     file.string(), errorText(opened)));
    if (opened < 0)
        throw VideoError(
            VideoError::Kind::notAVideo,
            fmt::format("cannot read {}: it is not a video, or it was cut short before "
                        "its index was written ({}); record or export it again",
                        file.string(), errorText(opened)));
    Input input(context);
    if (const int found = avformat_find_stream_info(input.get(), nullptr); found < 0)
        throw VideoError(VideoError::Kind::notAVideo,
                         fmt::format("cannot read {}: {}; record or export it again", file.string(),
                                     errorText(found)));
    return input;
}

int64_t startMicros(const AVFormatContext& input) {
    return input.start_time == AV_NOPTS_VALUE ? 0 : input.start_time;
}

} // namespace lanternfly::libav
