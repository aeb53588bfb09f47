// The text that a stroke's colour is kept as.
// Threads: value.
#pragma once

#include <optional>
#include <string_view>

#include "base/Vectors.h"

namespace lanternfly {

// "#RRGGBB" or "#RRGGBBAA", the mark optional, as sRGB with straight alpha, each 0…1; six digits
// are opaque. Null for anything else.
std::optional<float4> parseHexColor(std::string_view text);

} // namespace lanternfly
