// Writes H.264 into MP4 or Matroska with libav and x264, BT.709 limited range. The same pictures
// give the same bytes on every machine: a fixed number of threads, no dates, no random identities.
// Threads: bound.
#pragma once

#include <memory>
#include <span>

#include "platform/VideoFile.h"
#include "platform/linux/video/Libav.h"
#include "platform/linux/video/OutputFile.h"
#include "platform/linux/video/SoundCopier.h"
#include "platform/linux/video/SoundEncoder.h"

namespace lanternfly {

class VideoFileWriter final : public VideoWriter {
public:
    // Throws VideoError.
    static std::unique_ptr<VideoFileWriter> create(const VideoWriterOptions& options);
    ~VideoFileWriter() override;

    void write(const PixelBuffer& picture, MediaTime pts) override;
    // Samples of a SoundBlock, for a file with live sound. Throws VideoError.
    void writeSound(std::span<const float> samples, double seconds);
    void finish(Sound sound) override;
    const std::vector<std::string>& notes() const override { return _notes; }

private:
    struct CloseOutput {
        void operator()(AVFormatContext* context) const;
    };

    explicit VideoFileWriter(const VideoWriterOptions& options);
    void openEncoder();
    void openContainer(bool withSound);
    int writeHeader();
    void drainEncoder();
    void check(int code) const;

    VideoWriterOptions _options;
    std::unique_ptr<OutputFile> _file;
    libav::Codec _encoder;
    std::unique_ptr<AVFormatContext, CloseOutput> _container;
    AVStream* _stream = nullptr; // owned by the container
    std::unique_ptr<SoundCopier> _sound;
    std::unique_ptr<SoundEncoder> _liveSound;
    libav::Scaler _scaler;
    libav::Frame _frame;
    libav::Packet _packet;
    std::vector<std::string> _notes;
    int64_t _lastTicks = INT64_MIN;
};

} // namespace lanternfly
