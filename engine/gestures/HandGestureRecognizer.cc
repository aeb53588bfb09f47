#include "gestures/HandGestureRecognizer.h"

#include <algorithm>

#include "gestures/UptimeSpan.h"

namespace lanternfly {

namespace {

constexpr float smallestFinger = 0.0001f; // below it the ratio means nothing
constexpr double suppressedLogSeconds = 0.5;

} // namespace

HandGestureRecognizer::HandGestureRecognizer(const Clock& clock, const Parameters& parameters)
    : _clock(clock), _parameters(parameters) {}

void HandGestureRecognizer::setSuppressed(bool isSuppressed) {
    if (isSuppressed == _isSuppressed) return;
    _isSuppressed = isSuppressed;
    _log.info("suppression {} (pinch session {})", isSuppressed ? "engaged" : "released",
              isSuppressed ? "active" : "ended");
}

void HandGestureRecognizer::reset() {
    _progress.fill({});
    _isSuppressed = false;
}

void HandGestureRecognizer::process(std::span<const HandPose> poses) {
    const uint64_t nowNanos = _clock.uptimeNanos();
    if (_isSuppressed) {
        if (!_lastSuppressedLogAtNanos ||
            elapsedSeconds(*_lastSuppressedLogAtNanos, nowNanos) >= suppressedLogSeconds) {
            _lastSuppressedLogAtNanos = nowNanos;
            _log.debug("gesture suppressed: poses={}", poses.size());
        }
        return;
    }
    for (const Event event : allEvents) {
        Progress& progress = _progress[static_cast<size_t>(event)];
        if (advance(progress, isDetected(event, poses), nowNanos) && _eventCallback)
            _eventCallback(event);
    }
}

bool HandGestureRecognizer::advance(Progress& progress, bool isDetected, uint64_t nowNanos) const {
    if (isDetected) progress.lastDetectedAtNanos = nowNanos;
    if (progress.isLatched) {
        const bool isAbsent =
            !progress.lastDetectedAtNanos ||
            elapsedSeconds(*progress.lastDetectedAtNanos, nowNanos) >= _parameters.unlatchSeconds;
        if (isAbsent) progress = {}; // the next hold starts with the next sight of the shape
        return false;
    }
    if (!isDetected) {
        progress.holdingSinceNanos.reset();
        return false;
    }
    if (!progress.holdingSinceNanos) progress.holdingSinceNanos = nowNanos;
    progress.isLatched =
        elapsedSeconds(*progress.holdingSinceNanos, nowNanos) >= _parameters.holdSeconds;
    return progress.isLatched;
}

bool HandGestureRecognizer::isDetected(Event event, std::span<const HandPose> poses) const {
    switch (event) {
    case Event::peaceSign:
        return std::any_of(poses.begin(), poses.end(),
                           [&](const HandPose& pose) { return isPeaceSign(pose); });
    }
    return false;
}

bool HandGestureRecognizer::isPeaceSign(const HandPose& pose) const {
    const auto index = isExtended(pose, HandLandmark::indexTip, HandLandmark::indexPIP);
    const auto middle = isExtended(pose, HandLandmark::middleTip, HandLandmark::middlePIP);
    const auto ring = isExtended(pose, HandLandmark::ringTip, HandLandmark::ringPIP);
    const auto pinky = isExtended(pose, HandLandmark::pinkyTip, HandLandmark::pinkyPIP);
    // A finger that is hidden might be anything: then it is no sign.
    return index && middle && ring && pinky && *index && *middle && !*ring && !*pinky;
}

std::optional<bool> HandGestureRecognizer::isExtended(const HandPose& pose, HandLandmark tip,
                                                      HandLandmark pip) const {
    const auto sure = [&](HandLandmark landmark) {
        const auto* point = measurablePoint(pose, landmark);
        return point && point->confidence >= _parameters.minLandmarkConfidence ? point : nullptr;
    };
    const auto* wrist = sure(HandLandmark::wrist);
    const auto* fingertip = sure(tip);
    const auto* knuckle = sure(pip);
    if (!wrist || !fingertip || !knuckle) return std::nullopt;
    const float toKnuckle = glm::distance(position(*knuckle), position(*wrist));
    if (toKnuckle <= smallestFinger) return std::nullopt;
    return glm::distance(position(*fingertip), position(*wrist)) / toKnuckle >
           _parameters.extensionRatio;
}

} // namespace lanternfly
