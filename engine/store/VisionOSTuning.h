// The look of the glass pane that carries the slide. Lengths are in units of half the pane's short
// side.
// Threads: value.
#pragma once

#include <tuple>

#include "store/RecordField.h"

namespace lanternfly {

struct VisionOSTuning {
    static constexpr const char* userDefaultsKey = "lanternfly.defaults.glass";

    float cornerRadius = 0.05f;
    float quadPad = 0.22f;
    float shadowRadius = 0.22f;
    float shadowStrength = 0.05f;
    float rimWidth = 0.01f;
    float rimMin = 0.05f;
    float rimMax = 0.2f;
    float specularHeight = 0.67f;
    float specularIntensity = 0.03f;
    float backdropBlurSigma = 0.0f; // 0: no blur

    static const VisionOSTuning defaults;

    static constexpr auto fields() {
        return std::tuple{requiredField("cornerRadius", &VisionOSTuning::cornerRadius),
                          requiredField("quadPad", &VisionOSTuning::quadPad),
                          requiredField("shadowRadius", &VisionOSTuning::shadowRadius),
                          requiredField("shadowStrength", &VisionOSTuning::shadowStrength),
                          requiredField("rimWidth", &VisionOSTuning::rimWidth),
                          requiredField("rimMin", &VisionOSTuning::rimMin),
                          requiredField("rimMax", &VisionOSTuning::rimMax),
                          requiredField("specularHeight", &VisionOSTuning::specularHeight),
                          requiredField("specularIntensity", &VisionOSTuning::specularIntensity),
                          requiredField("backdropBlurSigma", &VisionOSTuning::backdropBlurSigma)};
    }

    friend bool operator==(const VisionOSTuning&, const VisionOSTuning&) = default;
};

inline constexpr VisionOSTuning VisionOSTuning::defaults{};

} // namespace lanternfly
