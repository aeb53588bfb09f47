// What the recognizers measure of one hand, one frame at a time and before any smoothing.
// Threads: value.
#pragma once

#include <array>
#include <optional>

#include "gestures/HandPose.h"

namespace lanternfly {

struct HandReading {
    HandPose::Chirality chirality = HandPose::Chirality::unknown;
    std::optional<float2> at{};   // the pinch point; absent without both tips
    std::optional<float> size{};  // wrist to middle MCP
    std::optional<float> ratio{}; // thumb tip to index tip ÷ size
    // 0 for a joint that was not found.
    float thumbConfidence = 0, indexConfidence = 0, palmConfidence = 0;
    // Index, middle, ring, little: tip to wrist ÷ PIP to wrist, and the least confidence of these.
    std::array<std::optional<float>, 4> fingers{};
    std::array<float, 4> fingerConfidence{};
};

HandReading readingOf(const HandPose& pose);

} // namespace lanternfly
