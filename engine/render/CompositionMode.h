// Which picture is the background and which one floats.
// Threads: value.
#pragma once

#include <variant>

namespace lanternfly {

// `fit` shows the whole slide with bars, `fill` covers the frame and crops.
enum class SwapFillMode { fit, fill };

struct FullComposition { // the camera fills the frame, the slide floats
    friend bool operator==(const FullComposition&, const FullComposition&) = default;
};
struct SwapComposition { // the slide fills the frame, the camera floats
    SwapFillMode fillMode = SwapFillMode::fit;
    friend bool operator==(const SwapComposition&, const SwapComposition&) = default;
};

using CompositionMode = std::variant<FullComposition, SwapComposition>;

} // namespace lanternfly
