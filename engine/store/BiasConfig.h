// How strongly a moving slide is drawn to the centre and to filling the canvas.
// Threads: value.
#pragma once

#include <tuple>

#include "store/RecordField.h"

namespace lanternfly {

struct BiasConfig {
    static constexpr const char* userDefaultsKey = "lanternfly.defaults.bias";

    float centerRadius = 0.08f;   // canvas units
    float centerStrength = 0.85f; // 0…1
    float fillRadius = 0.06f;     // in units of scale
    float fillStrength = 0.85f;   // 0…1

    static const BiasConfig defaults;
    static const BiasConfig disabled; // the radii kept, both strengths 0

    static constexpr auto fields() {
        return std::tuple{requiredField("centerRadius", &BiasConfig::centerRadius),
                          requiredField("centerStrength", &BiasConfig::centerStrength),
                          optionalField("fillRadius", &BiasConfig::fillRadius),
                          optionalField("fillStrength", &BiasConfig::fillStrength)};
    }

    friend bool operator==(const BiasConfig&, const BiasConfig&) = default;
};

inline constexpr BiasConfig BiasConfig::defaults{};
inline constexpr BiasConfig BiasConfig::disabled{.centerStrength = 0, .fillStrength = 0};

} // namespace lanternfly
