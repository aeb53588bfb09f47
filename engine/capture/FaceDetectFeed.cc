#include "capture/FaceDetectFeed.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <utility>

#include "base/Weakly.h"
#include "capture/FailureOf.h"

namespace lanternfly {

std::shared_ptr<FaceDetectFeed> FaceDetectFeed::create(DetectorFactory makeDetector,
                                                       int64_t frameStride) {
    return std::shared_ptr<FaceDetectFeed>(
        new FaceDetectFeed(std::move(makeDetector), frameStride));
}

FaceDetectFeed::FaceDetectFeed(DetectorFactory makeDetector, int64_t frameStride)
    : _frameStride(frameStride), _makeDetector(std::move(makeDetector)),
      _stateQueue("org.lanternfly.Lanternfly.FaceDetectFeed.state",
                  QualityOfService::userInitiated),
      _visionQueue("org.lanternfly.Lanternfly.FaceDetectFeed.vision",
                   QualityOfService::userInitiated) {
    _faces.reserve(FaceDetector::maximumFaceCount);
}

void FaceDetectFeed::start() {
    _stateQueue.async(weakly(*this, &FaceDetectFeed::startOnStateQueue));
}

void FaceDetectFeed::stop() {
    _stateQueue.async(weakly(*this, &FaceDetectFeed::stopOnStateQueue));
    _latestFace.set(std::nullopt);
}

void FaceDetectFeed::process(PixelBufferRef buffer, MediaTime) {
    if (!buffer) return;
    _stateQueue.async(weakly(*this, &FaceDetectFeed::accept, std::move(buffer)));
}

void FaceDetectFeed::waitUntilIdle() {
    // The way of a frame: accepted, looked at, finished.
    _stateQueue.sync([] {});
    _visionQueue.sync([] {});
    _stateQueue.sync([] {});
}

void FaceDetectFeed::startOnStateQueue() {
    if (_isStarted) return;
    _frameCounter = 0;
    _isStarted = true;
    _log.info("FaceDetectFeed started (stride={})", _frameStride);
}

void FaceDetectFeed::stopOnStateQueue() {
    if (!_isStarted) return;
    _isStarted = false;
    _log.info("FaceDetectFeed stopped");
}

void FaceDetectFeed::accept(PixelBufferRef buffer) {
    if (!_isStarted) return;
    if (_frameCounter == std::numeric_limits<int64_t>::max()) std::abort();
    ++_frameCounter;
    if (_frameStride == 0 || _frameCounter % _frameStride != 0 || _isRequestInFlight) return;
    _isRequestInFlight = true;
    _visionQueue.async(weakly(*this, &FaceDetectFeed::detect, std::move(buffer)));
}

void FaceDetectFeed::finish() {
    _isRequestInFlight = false;
}

void FaceDetectFeed::detect(PixelBufferRef buffer) {
    _faces.clear();
    if (const auto failure = failureOf([&] { findFaces(*buffer); })) {
        _log.error("Vision face request failed: {}", *failure);
        _faces.clear();
    }
    // Of equally large faces the first.
    const auto largest =
        std::max_element(_faces.begin(), _faces.end(),
                         [](const FaceRect& a, const FaceRect& b) { return a.area() < b.area(); });
    _latestFace.set(largest == _faces.end() ? std::nullopt : std::optional(*largest));
    _stateQueue.async(weakly(*this, &FaceDetectFeed::finish));
}

void FaceDetectFeed::findFaces(const PixelBuffer& picture) {
    if (!_detector) _detector = _makeDetector();
    if (!_detector) throw std::runtime_error("no face detector");
    _detector->detect(picture, _faces);
}

} // namespace lanternfly
