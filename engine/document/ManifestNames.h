// How anchors and size classes are called in files.
#pragma once

#include <array>
#include <string_view>

#include "document/Placement.h"

namespace lanternfly {

inline constexpr std::array<std::string_view, anchorCount> anchorNames{
    "top_left",     "top_center",  "top_right",     "middle_left",  "middle_center",
    "middle_right", "bottom_left", "bottom_center", "bottom_right", "center"};
inline constexpr std::array<std::string_view, sizeClassCount> sizeClassNames{"large", "medium",
                                                                             "small"};

} // namespace lanternfly
