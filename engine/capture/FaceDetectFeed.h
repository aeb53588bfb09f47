// Looks for the presenter's face in every sixth camera frame and keeps the newest answer. One
// detection at a time: a frame whose turn comes while one runs is skipped, not queued.
// Threads: safe.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/LockedCell.h"
#include "base/Logger.h"
#include "base/MediaTime.h"
#include "base/PixelBuffer.h"
#include "base/SerialQueue.h"
#include "platform/FaceDetector.h"

namespace lanternfly {

class FaceDetectFeed : public std::enable_shared_from_this<FaceDetectFeed> {
public:
    static constexpr int64_t defaultFrameStride = 6;

    // Makes the detector, on the vision queue, for the first frame that is looked at. Null or a
    // throw is a failed detection; the next one tries again.
    using DetectorFactory = std::function<std::unique_ptr<FaceDetector>()>;

    // Every `frameStride`-th frame is looked at; none when it is 0.
    static std::shared_ptr<FaceDetectFeed> create(DetectorFactory makeDetector,
                                                  int64_t frameStride = defaultFrameStride);

    void start();
    // The published face is gone on return. A detection that has begun still completes and may
    // publish once more.
    void stop();
    // A camera frame and its presentation time. Returns at once.
    void process(PixelBufferRef buffer, MediaTime pts);
    // The largest face of the newest frame that was looked at; none when it showed none.
    std::optional<FaceRect> latestFace() const { return _latestFace.get(); }
    // Returns when everything asked of the feed before has been done: offline renders run in step
    // with it.
    void waitUntilIdle();

private:
    FaceDetectFeed(DetectorFactory makeDetector, int64_t frameStride);

    // On the state queue.
    void startOnStateQueue();
    void stopOnStateQueue();
    void accept(PixelBufferRef buffer);
    void finish();

    // On the vision queue.
    void detect(PixelBufferRef buffer);
    void findFaces(const PixelBuffer& picture);

    const Logger _log{"FaceDetectFeed"};
    const int64_t _frameStride;

    // State queue.
    bool _isStarted = false;
    bool _isRequestInFlight = false;
    int64_t _frameCounter = 0; // since the start

    // Vision queue.
    DetectorFactory _makeDetector;
    std::unique_ptr<FaceDetector> _detector;
    std::vector<FaceRect> _faces;

    LockedCell<std::optional<FaceRect>> _latestFace;

    SerialQueue _stateQueue;
    SerialQueue _visionQueue;
};

} // namespace lanternfly
