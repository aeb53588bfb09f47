// Frames of a video node. A camera that stops sending is restarted; one that was unplugged is
// opened again when it is back.
// Threads: bound; frames come on a thread of its own.
#pragma once

#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/LockedCell.h"
#include "base/Logger.h"
#include "base/PixelBufferPool.h"
#include "base/UniqueFd.h"
#include "platform/linux/camera/StreamingCamera.h"
#include "platform/linux/v4l2/KnownNodes.h"
#include "platform/linux/v4l2/V4l2Queue.h"

namespace lanternfly::v4l2 {

// In nanoseconds.
struct Patience {
    uint64_t forFirstFrame = 5'000'000'000; // cameras take a while to set their exposure
    uint64_t forNextFrame = 2'000'000'000;
    uint64_t beforeRetry = 1'000'000'000;
};

class V4l2Stream final : public CameraStream {
public:
    struct Camera {
        std::string name;
        std::vector<CameraMode> modes; // as the formats
        // Where the camera is now; nothing while it is unplugged.
        std::function<std::optional<KnownNodes::Place>()> locate;
        // The camera that was found there is gone.
        std::function<void(uint64_t arrival)> lost;
        Patience patience;
    };

    // Opens and claims the camera in this configuration. Throws CameraError when it is denied, busy
    // or gone; a camera that refuses the configuration may be prepared for another.
    V4l2Stream(Camera camera, const CameraConfiguration& configuration);
    ~V4l2Stream() override;

    bool prepare(const CameraConfiguration& configuration) override;
    void start(FrameSink sink) override;
    void stop() override;
    std::string problem() const override { return _problem.get(); }

private:
    void openPrepared();
    void run();
    void captureUntilStopped();
    // Waits for a frame or stop(), at most until the time is over.
    void waitForFrame(uint64_t nanos);
    void waitForStop(uint64_t nanos);
    bool take(const V4l2Queue::Frame& frame, uint64_t arrivedAtNanos);
    void reportFailure(const CameraError& error);
    void reportFrames();

    const Logger _log{"V4l2Stream"};
    const Camera _camera;
    std::optional<CameraConfiguration> _configuration;
    std::unique_ptr<V4l2Queue> _queue; // null while the camera is gone
    std::optional<uint64_t> _arrival;  // of the camera that the queue is, or was, opened for
    std::optional<FrameDecoder> _decoder;
    std::unique_ptr<PixelBufferPool> _pool;

    FrameSink _sink;
    std::string _lastFailure;         // empty while frames come
    LockedCell<std::string> _problem; // the same, while the camera is attached
    UniqueFd _wakeUp;
    std::atomic<bool> _isStopping{false};
    std::thread _thread;
};

} // namespace lanternfly::v4l2
