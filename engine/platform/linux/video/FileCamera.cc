#include "platform/linux/video/FileCamera.h"

#include <chrono>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>

#include <pthread.h>

#include "base/Clock.h"
#include "base/Logger.h"
#include "platform/linux/ProgramData.h"
#include "platform/linux/video/FilePacing.h"
#include "platform/linux/video/VideoFileReader.h"

namespace lanternfly {
namespace {

constexpr uint64_t beforeRetryNanos = 1'000'000'000;

class FileStream final : public CameraStream {
public:
    FileStream(std::filesystem::path file, VideoRate rate)
        : _file(std::move(file)), _reader(VideoFileReader::open(_file)),
          _frameNanos(static_cast<uint64_t>(std::llround(1e9 / rate.framesPerSecond()))),
          _pacing(_frameNanos) {}
    ~FileStream() override { stop(); }

    bool prepare(const CameraConfiguration& configuration) override {
        return configuration.format == 0;
    }
    void start(FrameSink sink) override {
        _isStopping = false;
        _thread = std::thread([this, kept = std::move(sink)] {
            pthread_setname_np(pthread_self(), "file-camera");
            run(kept);
        });
    }
    void stop() override {
        if (!_thread.joinable()) return;
        {
            const std::lock_guard guard(_mutex);
            _isStopping = true;
        }
        _stopped.notify_all();
        _thread.join();
    }

private:
    void run(const FrameSink& sink) {
        for (bool goesOn = true; goesOn;) {
            try {
                goesOn = playOne(sink);
            } catch (const VideoError& error) {
                goesOn = recover(error);
            }
        }
    }

    // The next frame when it is due, or back to the start of the file. False when stopped.
    bool playOne(const FrameSink& sink) {
        if (!_reader) _reader = VideoFileReader::open(_file);
        const auto frame = _reader->next();
        if (!frame) {
            _reader = nullptr;
            _pacing.rewind();
            return true;
        }
        const uint64_t due = _pacing.dueAt(frame->pts, SystemClock::shared().uptimeNanos());
        if (!waitUntil(due)) return false;
        sink({frame->picture, MediaTime::fromNanos(static_cast<int64_t>(due))});
        return true;
    }

    // False when stopped.
    bool recover(const VideoError& error) {
        uint64_t patience = beforeRetryNanos;
        if (error.kind == VideoError::Kind::allHeld) { // they miss this frame; the file is well
            _log.debug("{}", error.what());
            patience = _frameNanos;
        } else {
            _log.error("{}", error.what());
            _reader = nullptr;
        }
        return waitUntil(SystemClock::shared().uptimeNanos() + patience);
    }

    // False when stopped before or meanwhile.
    bool waitUntil(uint64_t uptimeNanos) {
        const uint64_t now = SystemClock::shared().uptimeNanos();
        const std::chrono::nanoseconds left(uptimeNanos > now ? uptimeNanos - now : 0);
        std::unique_lock lock(_mutex);
        return !_stopped.wait_for(lock, left, [&] { return _isStopping; });
    }

    const Logger _log{"FileCamera"};
    const std::filesystem::path _file;
    std::unique_ptr<VideoFileReader> _reader; // null at the start of a round
    const uint64_t _frameNanos;
    FilePacing _pacing;

    std::mutex _mutex;
    std::condition_variable _stopped;
    bool _isStopping = false;
    std::thread _thread;
};

} // namespace

std::shared_ptr<FileCamera> FileCamera::create(const std::filesystem::path& file) {
    std::error_code failed;
    const auto whole = std::filesystem::weakly_canonical(file, failed);
    return create(file, "file:" + (failed ? file : whole).string(), file.filename().string());
}

std::shared_ptr<FileCamera> FileCamera::demo() {
    return create(programData("demo/presenter.mp4"), "demo", "Demo presenter");
}

std::shared_ptr<FileCamera> FileCamera::create(const std::filesystem::path& file, std::string id,
                                               std::string name) {
    const VideoInfo info = VideoFileReader::open(file)->info();
    const double rate = info.frameRate.framesPerSecond();
    CameraDescription description{
        .uniqueID = std::move(id),
        .localizedName = std::move(name),
        .manufacturer = {},
        .modelID = "video file",
        .className = "FileCamera",
        .type = CameraDeviceType::external,
        .transportType = CameraTransportType::virtualDevice,
        .formats = {{info.width, info.height, {{rate, rate}}, false, "video"}}};
    return std::shared_ptr<FileCamera>(
        new FileCamera(std::move(description), file, info.frameRate));
}

FileCamera::FileCamera(CameraDescription description, std::filesystem::path file, VideoRate rate)
    : StreamingCamera(std::move(description)), _file(std::move(file)), _rate(rate) {}

std::unique_ptr<CameraStream> FileCamera::open() {
    try {
        return std::make_unique<FileStream>(_file, _rate);
    } catch (const VideoError& error) {
        throw CameraError(error.kind == VideoError::Kind::notFound ? CameraError::Kind::disconnected
                                                                   : CameraError::Kind::failed,
                          error.what());
    }
}

} // namespace lanternfly
