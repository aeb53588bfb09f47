// One detected hand of one camera frame: what travels from the hand pose feed to the recognizers.
// Threads: value. Copies allocate nothing.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "base/MediaTime.h"
#include "base/Vectors.h"

namespace lanternfly {

enum class HandLandmark : uint8_t {
    wrist,
    thumbCMC,
    thumbMP,
    thumbIP,
    thumbTip,
    indexMCP,
    indexPIP,
    indexDIP,
    indexTip,
    middleMCP,
    middlePIP,
    middleDIP,
    middleTip,
    ringMCP,
    ringPIP,
    ringDIP,
    ringTip,
    pinkyMCP,
    pinkyPIP,
    pinkyDIP,
    pinkyTip,
};
inline constexpr size_t handLandmarkCount = 21;

// Every landmark, in the order of its declaration.
inline constexpr auto allHandLandmarks = [] {
    std::array<HandLandmark, handLandmarkCount> all{};
    for (size_t i = 0; i < all.size(); ++i)
        all[i] = static_cast<HandLandmark>(i);
    return all;
}();

struct HandPose {
    enum class Chirality : uint8_t { left, right, unknown };

    // Normalised image position in 0…1, origin at the lower left; the detector's confidence in 0…1.
    struct Point {
        float x = 0, y = 0, confidence = 0;
        friend bool operator==(const Point&, const Point&) = default;
    };

    // The detected joints: a map from landmark to point in fixed storage. A joint that was not
    // detected has no entry.
    class Landmarks {
    public:
        // The landmark's point, or null when it has no entry.
        const Point* find(HandLandmark landmark) const {
            const auto& entry = _points[static_cast<size_t>(landmark)];
            return entry ? &*entry : nullptr;
        }
        bool contains(HandLandmark landmark) const { return find(landmark) != nullptr; }
        void set(HandLandmark landmark, const Point& point) {
            _points[static_cast<size_t>(landmark)] = point;
        }
        void erase(HandLandmark landmark) { _points[static_cast<size_t>(landmark)].reset(); }
        size_t count() const {
            size_t present = 0;
            for (const auto& entry : _points)
                present += entry.has_value();
            return present;
        }

        friend bool operator==(const Landmarks&, const Landmarks&) = default;

    private:
        std::array<std::optional<Point>, handLandmarkCount> _points{};
    };

    Chirality chirality = Chirality::unknown;
    Landmarks landmarks;
    float averageConfidence = 0; // mean confidence of the detected joints
    MediaTime pts;               // of the camera frame
    // Uptime at which the camera frame reached the feed: every event carries it, so that latency
    // can be measured from end to end.
    uint64_t arrivedAtUptimeNanos = 0;
    uint64_t detectionDurationNanos = 0;

    friend bool operator==(const HandPose&, const HandPose&) = default;
};

// The landmark's point when recognizers may compute with it, else null: a detector that answers
// NaN, infinity or a place far outside the picture has not found the joint, and one such number
// would stay in a filter's memory for good.
inline const HandPose::Point* measurablePoint(const HandPose& pose, HandLandmark landmark) {
    constexpr float farthest = 8; // picture widths; hands at the edge reach a little outside 0…1
    const HandPose::Point* point = pose.landmarks.find(landmark);
    const bool isMeasurable = point && std::fabs(point->x) <= farthest &&
                              std::fabs(point->y) <= farthest && std::isfinite(point->confidence);
    return isMeasurable ? point : nullptr;
}

inline float2 position(const HandPose::Point& point) {
    return {point.x, point.y};
}

// The first hand of this chirality; null without one.
inline const HandPose* firstOfChirality(std::span<const HandPose> poses,
                                        HandPose::Chirality chirality) {
    for (const HandPose& pose : poses)
        if (pose.chirality == chirality) return &pose;
    return nullptr;
}

} // namespace lanternfly
