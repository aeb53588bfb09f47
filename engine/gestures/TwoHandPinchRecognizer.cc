#include "gestures/TwoHandPinchRecognizer.h"

#include <cmath>

#include "diagnostics/PerfSignposts.h"
#include "gestures/UptimeSpan.h"

namespace lanternfly {

namespace {

constexpr float smallestHandSize = 0.0001f;   // below it a ratio of sizes means nothing
constexpr float smallestSeparation = 0.0001f; // below it a ratio of separations means nothing
constexpr float palmConfidenceFloor = 0.1f;   // of wrist and middle MCP
constexpr uint64_t framesBetweenLogs = 30;

float depthYaw(float leftSize, float rightSize) {
    if (leftSize <= smallestHandSize || rightSize <= smallestHandSize) return 0;
    return std::log(rightSize / leftSize);
}

} // namespace

void TwoHandPinchRecognizer::setDropoutGraceSeconds(double seconds) {
    _dropoutGraceSeconds = seconds > 0 ? seconds : 0;
}

void TwoHandPinchRecognizer::Hand::resetFilters() {
    pointFilter.reset();
    sizeFilter.reset();
}

TwoHandPinchRecognizer::Placement
TwoHandPinchRecognizer::Hand::place(const Measurement& measurement, double atSeconds) {
    return {pointFilter.filter(measurement.point, atSeconds),
            sizeFilter.filter(measurement.size, atSeconds)};
}

void TwoHandPinchRecognizer::reset() {
    _session.reset();
    _left = {};
    _right = {};
}

void TwoHandPinchRecognizer::process(std::span<const HandPose> poses) {
    PerfSignposts::interval(PerfSignposts::Category::twoHandProcess, "twohand-process", [&] {
        // The event leaves last, so that the callback may reset or tune the recognizer.
        const auto event = step(poses);
        if (event && _eventCallback) _eventCallback(*event);
    });
}

std::optional<TwoHandPinchEvent> TwoHandPinchRecognizer::step(std::span<const HandPose> poses) {
    const HandPose* leftPose = firstOfChirality(poses, HandPose::Chirality::left);
    const HandPose* rightPose = firstOfChirality(poses, HandPose::Chirality::right);
    const auto left = measure(leftPose);
    const auto right = measure(rightPose);
    if (left) _left.isPinching = isPinching(_left.isPinching, *left);
    if (right) _right.isPinching = isPinching(_right.isPinching, *right);

    const uint64_t nowNanos = _clock.uptimeNanos();
    if (_left.isPinching && _right.isPinching) {
        _lastBothPinchingAtNanos = nowNanos;
        if (!left || !right) return std::nullopt;
        if (!_session) return begin(*left, *right, *leftPose);
        return change(*_session, *left, *right, *leftPose);
    }
    if (!_session || elapsedSeconds(_lastBothPinchingAtNanos, nowNanos) < _dropoutGraceSeconds)
        return std::nullopt;
    return end(leftPose, rightPose);
}

TwoHandPinchBegan TwoHandPinchRecognizer::begin(const Measurement& left, const Measurement& right,
                                                const HandPose& leftPose) {
    _left.resetFilters();
    _right.resetFilters();
    const double now = _clock.mediaSeconds();
    const Placement leftHand = _left.place(left, now);
    const Placement rightHand = _right.place(right, now);
    _session = {.leftStart = leftHand.point,
                .rightStart = rightHand.point,
                .startDepthYaw = depthYaw(leftHand.size, rightHand.size),
                .startSeparation = glm::distance(leftHand.point, rightHand.point)};
    _sustainFrameCounter = 0;
    const float2 midpoint = (leftHand.point + rightHand.point) * 0.5f;
    _log.info("twohand .began midpoint=({:.3f}, {:.3f}) startDepthYaw={:.3f} "
              "startSizes=(L:{:.3f} R:{:.3f}) sep={:.3f}",
              midpoint.x, midpoint.y, _session->startDepthYaw, leftHand.size, rightHand.size,
              _session->startSeparation);
    return {midpoint, leftPose.pts, leftPose.arrivedAtUptimeNanos};
}

TwoHandPinchChanged TwoHandPinchRecognizer::change(const Session& session, const Measurement& left,
                                                   const Measurement& right,
                                                   const HandPose& leftPose) {
    const double now = _clock.mediaSeconds();
    const Placement leftHand = _left.place(left, now);
    const Placement rightHand = _right.place(right, now);
    const float separation = glm::distance(leftHand.point, rightHand.point);
    const TwoHandPinchChanged changed{.midpoint = (leftHand.point + rightHand.point) * 0.5f,
                                      .yawRadians = depthYaw(leftHand.size, rightHand.size),
                                      .yawStartRadians = session.startDepthYaw,
                                      .scaleRatio = session.startSeparation <= smallestSeparation
                                                        ? 1
                                                        : separation / session.startSeparation,
                                      .leftDeltaY = leftHand.point.y - session.leftStart.y,
                                      .rightDeltaY = rightHand.point.y - session.rightStart.y,
                                      .separation = separation,
                                      .sourcePts = leftPose.pts,
                                      .arrivedAtUptimeNanos = leftPose.arrivedAtUptimeNanos};
    if (++_sustainFrameCounter % framesBetweenLogs == 0)
        _log.info("twohand .changed depthYawΔ={:.3f} sizes=(L:{:.3f} R:{:.3f}) sep={:.3f} "
                  "lΔY={:.3f} rΔY={:.3f}",
                  changed.yawRadians - changed.yawStartRadians, leftHand.size, rightHand.size,
                  separation, changed.leftDeltaY, changed.rightDeltaY);
    return changed;
}

TwoHandPinchEnded TwoHandPinchRecognizer::end(const HandPose* left, const HandPose* right) {
    _session.reset();
    _left.resetFilters();
    _right.resetFilters();
    _log.info("twohand .ended (left={}, right={}) afterGrace=true", _left.isPinching,
              _right.isPinching);
    const HandPose* seen = left ? left : right;
    return seen ? TwoHandPinchEnded{seen->pts, seen->arrivedAtUptimeNanos} : TwoHandPinchEnded{};
}

std::optional<TwoHandPinchRecognizer::Measurement>
TwoHandPinchRecognizer::measure(const HandPose* pose) const {
    if (!pose) return std::nullopt;
    const auto sure = [&](HandLandmark landmark, float floor) {
        const auto* point = measurablePoint(*pose, landmark);
        return point && point->confidence >= floor ? point : nullptr;
    };
    const auto* thumbTip = sure(HandLandmark::thumbTip, _parameters.landmarkConfidenceFloor);
    const auto* indexTip = sure(HandLandmark::indexTip, _parameters.landmarkConfidenceFloor);
    const auto* wrist = sure(HandLandmark::wrist, palmConfidenceFloor);
    const auto* middleMCP = sure(HandLandmark::middleMCP, palmConfidenceFloor);
    if (!thumbTip || !indexTip || !wrist || !middleMCP) return std::nullopt;

    const float size = glm::distance(position(*middleMCP), position(*wrist));
    if (size <= smallestHandSize) return std::nullopt;
    const float2 thumb = position(*thumbTip), index = position(*indexTip);
    return Measurement{(thumb + index) * 0.5f, glm::distance(thumb, index), size};
}

bool TwoHandPinchRecognizer::isPinching(bool wasPinching, const Measurement& measurement) const {
    const float ratio = wasPinching ? _parameters.pinchExitRatio : _parameters.pinchEnterRatio;
    return ratio * measurement.size >= measurement.distance;
}

} // namespace lanternfly
