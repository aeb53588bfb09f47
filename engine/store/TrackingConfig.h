// How hands are followed: the pinch recognizer's filters and thresholds and the slide's spring.
// Threads: value.
#pragma once

#include <tuple>

#include "store/RecordField.h"

namespace lanternfly {

struct TrackingConfig {
    static constexpr const char* userDefaultsKey = "lanternfly.defaults.tracking";

    float positionFilterMinCutoff = 1.5f; // Hz
    float positionFilterBeta = 0.05f;
    float sizeFilterMinCutoff = 1.0f; // Hz
    float sizeFilterBeta = 0.02f;
    float predictionMs = 15.0f;
    float predictionVelocityFloor = 0.2f; // picture widths a second
    float springStiffness = 800.0f;
    float springDamping = 56.57f; // near critical for 800, but not tied to it
    float pulseMagnitude = 0.0f;  // 0: no pulse
    float pulseDecayRate = 15.0f; // per second
    float releaseEaseSeconds = 0.1f;
    float landmarkFloorThumbTip = 0.4f; // confidence, 0…1
    float landmarkFloorIndexTip = 0.4f;
    float landmarkFloorWrist = 0.15f;
    float landmarkFloorMiddleMCP = 0.15f;
    float engagedFloorRelaxation = 0.1f; // subtracted from the floors while pinching
    float pinchEnterRatio = 0.3f;        // pinch distance over hand size
    float pinchExitRatio = 0.35f;

    static const TrackingConfig defaults;

    static constexpr auto fields() {
        return std::tuple{
            optionalField("positionFilterMinCutoff", &TrackingConfig::positionFilterMinCutoff),
            optionalField("positionFilterBeta", &TrackingConfig::positionFilterBeta),
            optionalField("sizeFilterMinCutoff", &TrackingConfig::sizeFilterMinCutoff),
            optionalField("sizeFilterBeta", &TrackingConfig::sizeFilterBeta),
            optionalField("predictionMs", &TrackingConfig::predictionMs),
            optionalField("predictionVelocityFloor", &TrackingConfig::predictionVelocityFloor),
            optionalField("springStiffness", &TrackingConfig::springStiffness),
            optionalField("springDamping", &TrackingConfig::springDamping),
            optionalField("pulseMagnitude", &TrackingConfig::pulseMagnitude),
            optionalField("pulseDecayRate", &TrackingConfig::pulseDecayRate),
            optionalField("releaseEaseSeconds", &TrackingConfig::releaseEaseSeconds),
            optionalField("landmarkFloorThumbTip", &TrackingConfig::landmarkFloorThumbTip),
            optionalField("landmarkFloorIndexTip", &TrackingConfig::landmarkFloorIndexTip),
            optionalField("landmarkFloorWrist", &TrackingConfig::landmarkFloorWrist),
            optionalField("landmarkFloorMiddleMCP", &TrackingConfig::landmarkFloorMiddleMCP),
            optionalField("engagedFloorRelaxation", &TrackingConfig::engagedFloorRelaxation),
            optionalField("pinchEnterRatio", &TrackingConfig::pinchEnterRatio),
            optionalField("pinchExitRatio", &TrackingConfig::pinchExitRatio)};
    }

    friend bool operator==(const TrackingConfig&, const TrackingConfig&) = default;
};

inline constexpr TrackingConfig TrackingConfig::defaults{};

} // namespace lanternfly
