// Rolling health figures of hand tracking for the diagnostics display: how long a detection takes,
// how often poses arrive, how sure the joints are, and how many frames a second are dropped.
// Threads: safe.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>

#include "base/Clock.h"

namespace lanternfly {

class TrackingTelemetry {
public:
    // An optional is empty until its first sample. The three averages are exponential.
    struct Readout {
        std::optional<double> detectionMs;
        std::optional<double> poseIntervalMs;
        std::optional<double> landmarkConfidence; // 0…1
        double dropsPerSecond = 0;                // over the last closed window
        friend bool operator==(const Readout&, const Readout&) = default;
    };

    explicit TrackingTelemetry(const Clock& clock = SystemClock::shared()) : _clock(clock) {}

    void recordDetection(uint64_t durationNanos);
    // Ignored when 0; a time that is not later than the one before gives no interval.
    void recordPoseDelivery(uint64_t arrivedAtUptimeNanos);
    void recordLandmarkConfidence(float confidence);
    void recordDrop();
    Readout readout();
    void reset();

private:
    // Opens the first drop window; closes one that has run out and opens the next.
    void turnDropWindow(uint64_t nowNanos);

    const Clock& _clock;
    std::mutex _mutex;
    std::optional<double> _detectionMs;
    std::optional<double> _poseIntervalMs;
    std::optional<double> _confidence;
    uint64_t _lastPoseArrivalNanos = 0; // 0: none
    int64_t _dropsInWindow = 0;
    uint64_t _windowStartNanos = 0; // 0: none
    double _dropsPerSecond = 0;
};

} // namespace lanternfly
