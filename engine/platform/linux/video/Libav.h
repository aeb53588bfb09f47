// Ownership and errors of the libav libraries.
// Threads: value.
#pragma once

#include <memory>
#include <string>

#include "platform/VideoFile.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

namespace lanternfly::libav {

struct CloseInput {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
struct FreeCodec {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct FreeFrame {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct FreePacket {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct FreeScaler {
    void operator()(SwsContext* context) const { sws_freeContext(context); }
};

using Input = std::unique_ptr<AVFormatContext, CloseInput>;
using Codec = std::unique_ptr<AVCodecContext, FreeCodec>;
using Frame = std::unique_ptr<AVFrame, FreeFrame>;
using Packet = std::unique_ptr<AVPacket, FreePacket>;
using Scaler = std::unique_ptr<SwsContext, FreeScaler>;

// "No space left on device" and the like, for an AVERROR code.
std::string errorText(int code);

// The libraries' own chatter stays off standard error: what matters is said by our errors.
void silence();

// Opens a local file for demuxing with its streams probed. Only containers that hold one recording
// or one picture are accepted: a play list could name other files or hosts. Throws VideoError.
enum class Content { video, picture };
Input openInput(const std::filesystem::path& file, Content content = Content::video);

// The container's start, in AV_TIME_BASE units: times of all its streams count from here.
int64_t startMicros(const AVFormatContext& input);

} // namespace lanternfly::libav
