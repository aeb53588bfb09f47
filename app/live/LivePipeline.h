// The way of a camera's frames through the program to the outputs. A camera that sends nothing is
// stood in for by its last picture, so that the slide goes on.
// Threads: onCameraFrame() is bound to the camera's delivery queue, the rest to whoever owns it;
// stand-ins come on a thread of their own, never beside a frame.
#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>

#include "app/FramePipeline.h"
#include "app/Framing.h"
#include "app/live/LiveFigures.h"
#include "diagnostics/TraceFile.h"
#include "platform/FrameSink.h"

namespace lanternfly {

class LivePipeline {
public:
    static constexpr uint64_t patienceNanos = 500'000'000; // without a frame
    static constexpr uint64_t standInNanos = 1'000'000'000 / 30;

    // All outlive the live pipeline; `trace` may be null.
    struct Setup {
        FramePipeline& pipeline;
        FrameSink& sink;
        LiveFigures& figures;
        Framing framing;
        std::shared_ptr<TraceFile> trace;
        const Clock& clock = SystemClock::shared();
    };

    explicit LivePipeline(Setup setup);
    // No frame comes any more by then.
    ~LivePipeline();
    LivePipeline(const LivePipeline&) = delete;
    LivePipeline& operator=(const LivePipeline&) = delete;

    void onCameraFrame(const PixelBufferRef& picture, MediaTime pts);
    // How many frames were made.
    int64_t frameCount() const { return _nextIndex.load(); }

private:
    void standIn(const std::stop_token& stop);
    bool compose(PixelBufferRef picture, MediaTime pts, bool isStandIn);
    void measureTarget();

    Setup _setup;
    const PixelBufferRef _plain;              // before the first frame
    std::mutex _mutex;                        // held while a frame is made
    std::atomic<bool> _isFrameWaiting{false}; // for the mutex
    std::condition_variable_any _stopped;
    PixelBufferRef _lastPicture;
    uint64_t _lastNanos = 0; // of the last frame
    uint64_t _nextStandInNanos;
    std::atomic<int64_t> _nextIndex{0};
    std::optional<double> _lastTargetMs;
    std::jthread _standIns; // last: it uses everything above
};

} // namespace lanternfly
