// Takes a video through the frame pipeline into another video. Decoding, looking, drawing and
// encoding overlap on threads of their own; each sees the frames in order, so the result does not
// depend on how they are scheduled.
// Threads: bound.
#pragma once

#include <functional>
#include <string>

#include "app/BoundedQueue.h"
#include "app/FramePipeline.h"
#include "app/Framing.h"
#include "app/StageTimes.h"
#include "platform/VideoFile.h"

namespace lanternfly {

class OfflineRender {
public:
    struct Setup {
        VideoReader& reader;
        VideoWriter& writer;
        FramePipeline& pipeline;
        StageTimes& times;
        Framing framing;
        // Set to each frame's time; null paces the frames to real time instead, as a camera would:
        // a frame that comes too late is left out.
        ManualClock* clock = nullptr;
        // Runs on the looking thread before a frame is looked at, with the frame's seconds.
        std::function<void(double)> beforeFrame;
        std::function<bool()> isInterrupted;
        // Told the number of frames written, on the calling thread.
        std::function<void(int64_t)> onProgress;
    };
    struct Result {
        int64_t frames = 0;     // written
        int64_t framesLate = 0; // left out, when paced
        double lastSeconds = 0; // time of the last frame
        bool isInterrupted = false;
    };

    explicit OfflineRender(Setup setup) : _setup(std::move(setup)) {}

    // Returns when the output is complete. Throws VideoError, or std::runtime_error when a frame
    // cannot be composed.
    Result run();

private:
    struct OutputFrame {
        PixelBufferRef picture;
        MediaTime pts;
    };
    // Enough to even out single slow frames; more would only hold memory.
    static constexpr size_t framesBetweenStages = 3;

    void decode();
    void look();
    void draw();
    void encode();
    bool waitUntilDue(MediaTime pts);
    // Runs one stage; what it throws ends the others and is kept for run().
    void guarded(void (OfflineRender::*stage)());

    Setup _setup;
    Result _result;
    BoundedQueue<CameraFrame> _decoded{framesBetweenStages};
    BoundedQueue<Scene> _looked{framesBetweenStages};
    BoundedQueue<OutputFrame> _drawn{framesBetweenStages};
    LockedCell<std::exception_ptr> _failure;
    std::optional<uint64_t> _paceStartNanos;
};

} // namespace lanternfly
