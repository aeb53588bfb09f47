// The lights of the model and how they follow the room.
// Threads: value.
#pragma once

#include <tuple>

#include "store/RecordField.h"

namespace lanternfly {

struct Model3DLightingConfig {
    static constexpr const char* userDefaultsKey = "lanternfly.defaults.model3dLighting";

    float keyIntensity = 100.0f;
    float sideIntensity = 650.0f;
    float bounceIntensity = 3850.0f;
    float monitorFillIntensity = 4100.0f;
    float masterTargetMin = 15000.0f;
    float masterTargetMax = 16000.0f;
    float refreshIntervalSeconds = 0.1f;
    float temporalSmoothingAlpha = 0.2f; // 0…1
    bool iblEnabled = true;              // image-based light
    float iblIntensityExponent = -3.0f;  // the light's intensity is 2 to this power

    static const Model3DLightingConfig defaults;

    static constexpr auto fields() {
        return std::tuple{
            requiredField("keyIntensity", &Model3DLightingConfig::keyIntensity),
            requiredField("sideIntensity", &Model3DLightingConfig::sideIntensity),
            requiredField("bounceIntensity", &Model3DLightingConfig::bounceIntensity),
            requiredField("monitorFillIntensity", &Model3DLightingConfig::monitorFillIntensity),
            requiredField("masterTargetMin", &Model3DLightingConfig::masterTargetMin),
            requiredField("masterTargetMax", &Model3DLightingConfig::masterTargetMax),
            requiredField("refreshIntervalSeconds", &Model3DLightingConfig::refreshIntervalSeconds),
            requiredField("temporalSmoothingAlpha", &Model3DLightingConfig::temporalSmoothingAlpha),
            requiredField("iblEnabled", &Model3DLightingConfig::iblEnabled),
            requiredField("iblIntensityExponent", &Model3DLightingConfig::iblIntensityExponent)};
    }

    friend bool operator==(const Model3DLightingConfig&, const Model3DLightingConfig&) = default;
};

inline constexpr Model3DLightingConfig Model3DLightingConfig::defaults{};

} // namespace lanternfly
