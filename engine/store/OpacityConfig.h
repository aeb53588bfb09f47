// How opaque the slide is at rest and at speed.
// Threads: value.
#pragma once

#include <tuple>

#include "store/RecordField.h"

namespace lanternfly {

struct OpacityConfig {
    static constexpr const char* userDefaultsKey = "lanternfly.defaults.opacity";

    float opacityMax = 1.0f;  // 0…1
    float opacityMin = 0.85f; // 0…1

    static const OpacityConfig defaults;

    static constexpr auto fields() {
        return std::tuple{requiredField("opacityMax", &OpacityConfig::opacityMax),
                          requiredField("opacityMin", &OpacityConfig::opacityMin)};
    }

    friend bool operator==(const OpacityConfig&, const OpacityConfig&) = default;
};

inline constexpr OpacityConfig OpacityConfig::defaults{};

} // namespace lanternfly
