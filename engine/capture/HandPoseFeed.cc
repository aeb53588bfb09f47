#include "capture/HandPoseFeed.h"

#include <cmath>
#include <cstring>
#include <utility>

#include "base/Weakly.h"
#include "capture/FailureOf.h"

namespace lanternfly {

namespace {

constexpr uint64_t dropLogIntervalNanos = 5'000'000'000;
constexpr int prewarmWidthPX = 480;
constexpr int prewarmHeightPX = 270;

// The one place that knows both the detectors' names of the joints and ours.
constexpr std::pair<HandJoint, HandLandmark> landmarkOfJoint[] = {
    {HandJoint::wrist, HandLandmark::wrist},
    {HandJoint::thumbCMC, HandLandmark::thumbCMC},
    {HandJoint::thumbMP, HandLandmark::thumbMP},
    {HandJoint::thumbIP, HandLandmark::thumbIP},
    {HandJoint::thumbTip, HandLandmark::thumbTip},
    {HandJoint::indexMCP, HandLandmark::indexMCP},
    {HandJoint::indexPIP, HandLandmark::indexPIP},
    {HandJoint::indexDIP, HandLandmark::indexDIP},
    {HandJoint::indexTip, HandLandmark::indexTip},
    {HandJoint::middleMCP, HandLandmark::middleMCP},
    {HandJoint::middlePIP, HandLandmark::middlePIP},
    {HandJoint::middleDIP, HandLandmark::middleDIP},
    {HandJoint::middleTip, HandLandmark::middleTip},
    {HandJoint::ringMCP, HandLandmark::ringMCP},
    {HandJoint::ringPIP, HandLandmark::ringPIP},
    {HandJoint::ringDIP, HandLandmark::ringDIP},
    {HandJoint::ringTip, HandLandmark::ringTip},
    {HandJoint::littleMCP, HandLandmark::pinkyMCP},
    {HandJoint::littlePIP, HandLandmark::pinkyPIP},
    {HandJoint::littleDIP, HandLandmark::pinkyDIP},
    {HandJoint::littleTip, HandLandmark::pinkyTip},
};
static_assert(std::size(landmarkOfJoint) == handJointCount);
static_assert(handJointCount == handLandmarkCount);

HandPose::Chirality chiralityOf(HandObservation::Chirality chirality) {
    switch (chirality) {
    case HandObservation::Chirality::unknown:
        return HandPose::Chirality::unknown;
    case HandObservation::Chirality::left:
        return HandPose::Chirality::left;
    case HandObservation::Chirality::right:
        return HandPose::Chirality::right;
    }
    return HandPose::Chirality::unknown;
}

// A joint in which the detector has no confidence was not detected; one without a place neither.
bool isDetected(const HandObservation::Point& point) {
    return std::isfinite(point.x) && std::isfinite(point.y) && point.confidence > 0;
}

// Chirality, landmarks and their mean confidence; times are the frame's.
HandPose handPoseOf(const HandObservation& observation) {
    HandPose pose;
    pose.chirality = chiralityOf(observation.chirality);
    float confidenceSum = 0;
    for (const auto& [joint, landmark] : landmarkOfJoint) {
        const auto& point = observation.points[static_cast<size_t>(joint)];
        if (!point || !isDetected(*point)) continue;
        pose.landmarks.set(landmark, {point->x, point->y, point->confidence});
        confidenceSum += point->confidence;
    }
    const size_t count = pose.landmarks.count();
    pose.averageConfidence = count == 0 ? 0 : confidenceSum / static_cast<float>(count);
    return pose;
}

// 0 when the clock has jumped back.
uint64_t nanosBetween(uint64_t before, uint64_t after) {
    return after > before ? after - before : 0;
}

} // namespace

std::shared_ptr<HandPoseFeed> HandPoseFeed::create(const Clock& clock,
                                                   DetectorFactory makeDetector) {
    return std::shared_ptr<HandPoseFeed>(new HandPoseFeed(clock, std::move(makeDetector)));
}

HandPoseFeed::HandPoseFeed(const Clock& clock, DetectorFactory makeDetector)
    : _clock(clock), _lastDropLogAtNanos(clock.uptimeNanos()),
      _makeDetector(std::move(makeDetector)),
      _stateQueue("org.lanternfly.Lanternfly.HandPoseFeed.state",
                  QualityOfService::userInteractive),
      _visionQueue("org.lanternfly.Lanternfly.HandPoseFeed.vision",
                   QualityOfService::userInteractive) {
    _observations.reserve(HandPoseDetector::maximumHandCount);
    _poses.reserve(HandPoseDetector::maximumHandCount);
}

void HandPoseFeed::setPoseCallback(PoseCallback callback) {
    _stateQueue.async(weakly(*this, &HandPoseFeed::storePoseCallback, std::move(callback)));
}

void HandPoseFeed::setTelemetry(std::shared_ptr<TrackingTelemetry> telemetry) {
    _stateQueue.async(weakly(*this, &HandPoseFeed::storeTelemetry, std::move(telemetry)));
}

bool HandPoseFeed::isPrewarming() {
    bool isPrewarming = false;
    _stateQueue.sync([&] { isPrewarming = _prewarmsInFlight > 0; });
    return isPrewarming;
}

void HandPoseFeed::start() {
    _stateQueue.async(weakly(*this, &HandPoseFeed::startOnStateQueue));
}

void HandPoseFeed::stop() {
    _stateQueue.async(weakly(*this, &HandPoseFeed::stopOnStateQueue));
}

void HandPoseFeed::process(PixelBufferRef buffer, MediaTime pts) {
    if (!buffer) return;
    _stateQueue.async(weakly(*this, &HandPoseFeed::accept,
                             Frame{std::move(buffer), pts, _clock.uptimeNanos(), nullptr}));
}

void HandPoseFeed::waitUntilIdle() {
    // The way of a frame: accepted, detected, called back.
    _stateQueue.sync([] {});
    _visionQueue.sync([] {});
    _stateQueue.sync([] {});
}

void HandPoseFeed::storePoseCallback(PoseCallback callback) {
    _poseCallback = std::move(callback);
}

void HandPoseFeed::storeTelemetry(std::shared_ptr<TrackingTelemetry> telemetry) {
    _telemetry = std::move(telemetry);
}

void HandPoseFeed::startOnStateQueue() {
    if (_isStarted) return;
    _isStarted = true;
    ++_prewarmsInFlight;
    _log.info("HandPoseFeed started");
    _visionQueue.async(weakly(*this, &HandPoseFeed::prewarm));
}

void HandPoseFeed::stopOnStateQueue() {
    _isStarted = false;
    _log.info("HandPoseFeed stopped");
}

void HandPoseFeed::accept(Frame frame) {
    if (!_isStarted) return;
    if (_isDetectionInFlight || _prewarmsInFlight > 0) {
        recordDrop();
        return;
    }
    _isDetectionInFlight = true;
    frame.telemetry = _telemetry;
    _visionQueue.async(weakly(*this, &HandPoseFeed::detect, std::move(frame)));
}

void HandPoseFeed::recordDrop() {
    ++_droppedSinceLastLog;
    if (_telemetry) _telemetry->recordDrop();
    const uint64_t now = _clock.uptimeNanos();
    if (nanosBetween(_lastDropLogAtNanos, now) <= dropLogIntervalNanos) return;
    _log.debug("HandPoseFeed dropped {} frame(s) in last 5s due to in-flight Vision request",
               _droppedSinceLastLog);
    _droppedSinceLastLog = 0;
    _lastDropLogAtNanos = now;
}

void HandPoseFeed::prewarm() {
    if (const auto failure = prewarmFailure())
        _log.error("Vision prewarm: perform failed {}", *failure);
    _stateQueue.async(weakly(*this, &HandPoseFeed::finishPrewarm));
}

std::optional<std::string> HandPoseFeed::prewarmFailure() {
    if (!_detector) {
        if (const auto failure = failureOf([&] { _detector = _makeDetector(); })) return failure;
        if (!_detector) return "no hand detector";
    }
    const PixelBufferRef black = PixelBuffer::create(prewarmWidthPX, prewarmHeightPX);
    if (!black) {
        _log.error("Vision prewarm: dummy buffer alloc failed status={}",
                   static_cast<int>(PixelBufferPool::Status::outOfMemory));
        return std::nullopt;
    }
    std::memset(black->data(), 0, black->strideBytes() * prewarmHeightPX);
    const uint64_t before = _clock.uptimeNanos();
    const auto failure = failureOf([&] { _detector->detect(*black, _observations); });
    if (!failure)
        _log.info("Vision prewarm finished in {:.1f}ms",
                  static_cast<double>(nanosBetween(before, _clock.uptimeNanos())) / 1e6);
    return failure;
}

void HandPoseFeed::finishPrewarm() {
    --_prewarmsInFlight;
}

void HandPoseFeed::detect(Frame frame) {
    const PixelBufferRef small = _downsampler.scaled(*frame.buffer);
    const PixelBuffer& picture = small ? *small : *frame.buffer;

    _observations.clear();
    const uint64_t before = _clock.uptimeNanos();
    // Without a detector, which the prewarm has reported, a frame has no hands.
    if (_detector) {
        const auto failure = failureOf([&] { _detector->detect(picture, _observations); });
        if (failure) {
            _log.error("Vision hand pose request failed: {}", *failure);
            _observations.clear();
        }
    }
    const uint64_t after = _clock.uptimeNanos();
    const uint64_t durationNanos = nanosBetween(before, after);
    if (frame.telemetry) {
        frame.telemetry->recordDetection(durationNanos);
        frame.telemetry->recordPoseDelivery(after);
    }

    _poses.clear();
    for (const HandObservation& observation : _observations) {
        if (!observation.isReadable) continue;
        HandPose& pose = _poses.emplace_back(handPoseOf(observation));
        pose.pts = frame.pts;
        pose.arrivedAtUptimeNanos = frame.arrivedAtUptimeNanos;
        pose.detectionDurationNanos = durationNanos;
    }
    _stateQueue.async(weakly(*this, &HandPoseFeed::finish));
}

void HandPoseFeed::finish() {
    _isDetectionInFlight = false;
    if (_poseCallback) _poseCallback(_poses);
}

} // namespace lanternfly
