// The spring that tilts the slide as it is moved.
// Threads: value.
#pragma once

#include <tuple>

#include "store/RecordField.h"

namespace lanternfly {

struct TiltConfig {
    static constexpr const char* userDefaultsKey = "lanternfly.defaults.tilt";

    float stiffness = 180.0f;
    float damping = 22.0f;
    float drive = 0.003f;
    float maxAngleRad = 0.043633226f; // 2.5 degrees
    float accelClamp = 40.0f;

    static const TiltConfig defaults;

    static constexpr auto fields() {
        return std::tuple{requiredField("stiffness", &TiltConfig::stiffness),
                          requiredField("damping", &TiltConfig::damping),
                          requiredField("drive", &TiltConfig::drive),
                          requiredField("maxAngleRad", &TiltConfig::maxAngleRad),
                          requiredField("accelClamp", &TiltConfig::accelClamp)};
    }

    friend bool operator==(const TiltConfig&, const TiltConfig&) = default;
};

inline constexpr TiltConfig TiltConfig::defaults{};

} // namespace lanternfly
