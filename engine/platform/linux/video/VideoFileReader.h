// Reads video files with libav. The same file gives the same pixels on every machine: one decoding
// thread, exact conversions.
// Threads: bound.
#pragma once

#include <memory>

#include "platform/VideoFile.h"
#include "platform/linux/video/Libav.h"
#include "platform/linux/video/PictureConverter.h"

namespace lanternfly {

class VideoFileReader final : public VideoReader {
public:
    // At most `maxFramesOut` pictures may be held by the consumers at a time; they are recycled.
    // Throws VideoError.
    static std::unique_ptr<VideoFileReader> open(const std::filesystem::path& file,
                                                 int maxFramesOut = 16);
    // A single picture: JPEG, PNG or WebP. Throws VideoError.
    static PixelBufferRef picture(const std::filesystem::path& file);

    const VideoInfo& info() const override { return _info; }
    std::optional<VideoFrame> next() override;
    std::string damage() const override;

private:
    static std::unique_ptr<VideoFileReader> open(const std::filesystem::path& file,
                                                 libav::Content content, int maxFramesOut);
    VideoFileReader(std::filesystem::path file, libav::Input input, int stream,
                    libav::Codec decoder, int maxFramesOut);
    bool feedDecoder();
    MediaTime timeOf(const AVFrame& frame);
    int64_t ticks(double seconds) const;

    std::filesystem::path _file;
    libav::Input _input;
    const AVStream* _stream;
    libav::Codec _decoder;
    libav::Packet _packet;
    libav::Frame _frame;
    PictureConverter _converter;
    VideoInfo _info;

    int64_t _startTicks = 0; // of the container, in the stream's time base
    std::optional<int64_t> _lastTicks;
    int64_t _framesRead = 0;
    int64_t _framesDamaged = 0;
    int _readFailure = 0; // libav's code, 0 for an orderly end
    bool _inputEnded = false;
    bool _ended = false;
};

} // namespace lanternfly
