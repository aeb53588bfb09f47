// The name that somebody may have meant.
// Threads: safe.
#pragma once

#include <string_view>
#include <vector>

namespace lanternfly {

// The one of `names` with the fewest letters put in, left out or replaced; empty when more than
// half of the letters would be, and two at most are always forgiven.
std::string_view nearestName(std::string_view name, const std::vector<std::string_view>& names);

} // namespace lanternfly
