// Runs the hand detector on camera frames and publishes the hands of each frame that it looked at.
// One detection at a time: frames that arrive meanwhile are dropped, so poses are never older
// than one detection.
// Threads: safe. The callback runs on the state queue, once per detected frame.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/Clock.h"
#include "base/Logger.h"
#include "base/MediaTime.h"
#include "base/PixelBuffer.h"
#include "base/SerialQueue.h"
#include "capture/VisionDownsampler.h"
#include "capture/telemetry/TrackingTelemetry.h"
#include "gestures/HandPose.h"
#include "platform/HandPoseDetector.h"

namespace lanternfly {

class HandPoseFeed : public std::enable_shared_from_this<HandPoseFeed> {
public:
    // Makes the detector, on the vision queue, when it is first needed. Null or a throw means that
    // there is none; the next start() tries again.
    using DetectorFactory = std::function<std::unique_ptr<HandPoseDetector>()>;
    // All hands of one frame, maybe none; the span is valid during the call.
    using PoseCallback = std::function<void(std::span<const HandPose>)>;

    // The clock outlives the feed.
    static std::shared_ptr<HandPoseFeed> create(const Clock& clock, DetectorFactory makeDetector);

    void setPoseCallback(PoseCallback callback);
    void setTelemetry(std::shared_ptr<TrackingTelemetry> telemetry);
    // True from start() until the detector is loaded and has run once.
    bool isPrewarming();

    void start();
    // A detection that has begun still completes and calls back.
    void stop();
    // A camera frame and its presentation time. Returns at once.
    void process(PixelBufferRef buffer, MediaTime pts);
    // Runs a task on the state queue, between the hands of two frames.
    void async(Task task) { _stateQueue.async(std::move(task)); }
    // Returns when everything asked of the feed before has been done and called back: offline
    // renders run in step with it. Not from the callback.
    void waitUntilIdle();

private:
    struct Frame {
        PixelBufferRef buffer;
        MediaTime pts;
        uint64_t arrivedAtUptimeNanos = 0;
        std::shared_ptr<TrackingTelemetry> telemetry;
    };

    HandPoseFeed(const Clock& clock, DetectorFactory makeDetector);

    // On the state queue.
    void storePoseCallback(PoseCallback callback);
    void storeTelemetry(std::shared_ptr<TrackingTelemetry> telemetry);
    void startOnStateQueue();
    void stopOnStateQueue();
    void accept(Frame frame);
    void recordDrop();
    void finishPrewarm();
    void finish();

    // On the vision queue.
    void prewarm();
    std::optional<std::string> prewarmFailure();
    void detect(Frame frame);

    const Clock& _clock;
    const Logger _log{"HandPoseFeed"};

    // State queue.
    PoseCallback _poseCallback;
    std::shared_ptr<TrackingTelemetry> _telemetry;
    bool _isStarted = false;
    bool _isDetectionInFlight = false;
    int _prewarmsInFlight = 0; // two when stopped and started again during one
    int64_t _droppedSinceLastLog = 0;
    uint64_t _lastDropLogAtNanos;

    // Vision queue.
    DetectorFactory _makeDetector;
    std::unique_ptr<HandPoseDetector> _detector;
    VisionDownsampler _downsampler;
    std::vector<HandObservation> _observations;

    // Written on the vision queue while a detection is in flight, read on the state queue after.
    std::vector<HandPose> _poses;

    SerialQueue _stateQueue;
    SerialQueue _visionQueue;
};

} // namespace lanternfly
