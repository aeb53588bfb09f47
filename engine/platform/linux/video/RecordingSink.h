// Records frames into an MP4 or a Matroska file while they happen. However it ends, what was
// written plays.
// Threads: safe; the work is done on a thread of its own.
#pragma once

#include <filesystem>
#include <memory>
#include <mutex>

#include "platform/FrameSinkReport.h"
#include "platform/FrameWorker.h"
#include "platform/SoundSource.h"
#include "platform/linux/output/FrameFitter.h"
#include "platform/linux/video/RecordingTime.h"
#include "platform/linux/video/SoundQueue.h"
#include "platform/linux/video/VideoFileWriter.h"

namespace lanternfly {

struct RecordingOptions {
    // The name decides the container: .mp4 or .mkv.
    std::filesystem::path file;
    int width = 1920, height = 1080; // even; frames of another size are fitted
    VideoRate frameRate{};
    // Recorded in step with the frames, whose clock its times must share; null for none.
    std::shared_ptr<SoundSource> sound{};
};

class RecordingSink final : public FrameSink {
public:
    // Throws VideoError when the file cannot be written.
    explicit RecordingSink(const RecordingOptions& options);
    ~RecordingSink() override;

    const std::string& name() const override { return _report.name(); }
    void send(const PixelBufferRef& frame, MediaTime pts) override;
    bool isWatched() const override;
    FrameSinkStatus status() const override { return _report.status(); }
    void setStateCallback(std::function<void()> callback) override {
        _report.setCallback(std::move(callback));
    }
    // Writes the frames that wait and completes the file.
    void finish() override;

private:
    void write(const PixelBuffer& frame, MediaTime pts);
    void writeSound();

    FrameSinkReport _report;
    const std::shared_ptr<SoundSource> _sound;
    SoundQueue _heard;
    SoundQueue::Piece _piece;
    FrameFitter _fitter;
    RecordingTime _time;
    std::unique_ptr<VideoFileWriter> _writer; // null once it failed or was finished
    std::mutex _finishing;
    FrameWorker _worker; // last: its thread uses the others
};

} // namespace lanternfly
