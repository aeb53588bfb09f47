// Lets a swap and a darkening come softly: the picture dips to black while slide and camera change
// places.
// Threads: bound.
#pragma once

#include <optional>

#include "render/CompositionMode.h"

namespace lanternfly {

class StageTransition {
public:
    static constexpr double dipSeconds = 0.12;    // to black, and as long back
    static constexpr double darkenSeconds = 0.25; // from bright to black

    struct Look {
        CompositionMode mode = FullComposition{};
        float darkening = 0; // 0…1
        friend bool operator==(const Look&, const Look&) = default;
    };

    // Once a frame, with what is wanted and the media time. The first is taken as it is.
    Look advance(const Look& wanted, double nowSeconds);

private:
    std::optional<double> _lastSeconds;
    Look _look;
    float _dip = 0; // 0 bright … 1 black
};

} // namespace lanternfly
