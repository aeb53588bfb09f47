// How a model is matched to the picture that it stands in.
// Threads: value.
#pragma once

#include <tuple>

#include "store/RecordField.h"

namespace lanternfly {

struct SpatialCompositingConfig {
    static constexpr const char* userDefaultsKey = "lanternfly.defaults.spatialCompositing";

    float levelMatchStrength = 0.25f; // 0…1
    bool useConservativePercentiles = false;
    float sampleSensitivity = 0.0f;
    float lightWrapWidth = 0.005f;
    float lightWrapStrength = 0.25f;
    float underlayBlurSigma = 120.0f;
    float modelEdgeSoftness = 0.3f;

    static const SpatialCompositingConfig defaults;

    static constexpr auto fields() {
        return std::tuple{
            requiredField("levelMatchStrength", &SpatialCompositingConfig::levelMatchStrength),
            requiredField("useConservativePercentiles",
                          &SpatialCompositingConfig::useConservativePercentiles),
            requiredField("sampleSensitivity", &SpatialCompositingConfig::sampleSensitivity),
            requiredField("lightWrapWidth", &SpatialCompositingConfig::lightWrapWidth),
            requiredField("lightWrapStrength", &SpatialCompositingConfig::lightWrapStrength),
            requiredField("underlayBlurSigma", &SpatialCompositingConfig::underlayBlurSigma),
            requiredField("modelEdgeSoftness", &SpatialCompositingConfig::modelEdgeSoftness)};
    }

    friend bool operator==(const SpatialCompositingConfig&,
                           const SpatialCompositingConfig&) = default;
};

inline constexpr SpatialCompositingConfig SpatialCompositingConfig::defaults{};

} // namespace lanternfly
