// The hands that a clip really shows, picture by picture.
// Threads: value.
#pragma once

#include <array>
#include <filesystem>
#include <optional>
#include <vector>

#include "base/Vectors.h"
#include "platform/HandPoseDetector.h"

namespace lanternfly {

struct TrueHand {
    std::array<double2, handJointCount> joints; // pixels of the clip, y down
    std::optional<bool> isRight;                // absent where the label is unsure
};

using HandTruth = std::vector<std::vector<TrueHand>>;

// Reads a rendered clip's truth (one line a picture) or a real clip's labels (one object), told
// apart by the suffix .jsonl. Throws when the file is missing or malformed.
HandTruth readHandTruth(const std::filesystem::path& file);

// |thumb tip − index tip| / |wrist − middle MCP|.
double pinchRatio(const std::array<double2, handJointCount>& joints);

} // namespace lanternfly
