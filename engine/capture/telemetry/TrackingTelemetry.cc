#include "capture/telemetry/TrackingTelemetry.h"

#include <cmath>

namespace lanternfly {

namespace {

constexpr double alpha = 0.2; // weight of the newest sample
constexpr uint64_t dropWindowNanos = 2'000'000'000;

double milliseconds(uint64_t nanos) {
    return static_cast<double>(nanos) / 1'000'000;
}

void average(std::optional<double>& figure, double sample) {
    figure = figure ? alpha * sample + (1 - alpha) * *figure : sample;
}

// A clock that jumps back makes a window neither longer nor older.
uint64_t elapsedNanos(uint64_t since, uint64_t now) {
    return now > since ? now - since : 0;
}

} // namespace

void TrackingTelemetry::recordDetection(uint64_t durationNanos) {
    const std::lock_guard guard(_mutex);
    average(_detectionMs, milliseconds(durationNanos));
}

void TrackingTelemetry::recordPoseDelivery(uint64_t arrivedAtUptimeNanos) {
    if (arrivedAtUptimeNanos == 0) return;
    const std::lock_guard guard(_mutex);
    if (_lastPoseArrivalNanos != 0 && _lastPoseArrivalNanos < arrivedAtUptimeNanos)
        average(_poseIntervalMs, milliseconds(arrivedAtUptimeNanos - _lastPoseArrivalNanos));
    _lastPoseArrivalNanos = arrivedAtUptimeNanos;
}

void TrackingTelemetry::recordLandmarkConfidence(float confidence) {
    if (!std::isfinite(confidence)) return; // it would stay in the average for good
    const std::lock_guard guard(_mutex);
    average(_confidence, confidence);
}

void TrackingTelemetry::recordDrop() {
    const std::lock_guard guard(_mutex);
    turnDropWindow(_clock.uptimeNanos());
    ++_dropsInWindow;
}

TrackingTelemetry::Readout TrackingTelemetry::readout() {
    const std::lock_guard guard(_mutex);
    turnDropWindow(_clock.uptimeNanos());
    return {_detectionMs, _poseIntervalMs, _confidence, _dropsPerSecond};
}

void TrackingTelemetry::turnDropWindow(uint64_t nowNanos) {
    const uint64_t elapsed = elapsedNanos(_windowStartNanos, nowNanos);
    if (_windowStartNanos != 0) {
        if (elapsed < dropWindowNanos) return;
        _dropsPerSecond =
            static_cast<double>(_dropsInWindow) / (static_cast<double>(elapsed) / 1e9);
        _dropsInWindow = 0;
    }
    _windowStartNanos = nowNanos;
}

void TrackingTelemetry::reset() {
    const std::lock_guard guard(_mutex);
    _detectionMs.reset();
    _poseIntervalMs.reset();
    _confidence.reset();
    _lastPoseArrivalNanos = 0;
    _dropsInWindow = 0;
    _windowStartNanos = 0;
    _dropsPerSecond = 0;
}

} // namespace lanternfly
