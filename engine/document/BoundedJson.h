// Parsing of JSON that somebody else may have written: the depth is bounded, so that a few bytes
// cannot become a tower of values.
// Threads: safe.
#pragma once

#include <stdexcept>
#include <string_view>

#include <nlohmann/json.hpp>

namespace lanternfly {

inline constexpr int maxJsonDepth = 16;

// Throws std::exception when the text is not JSON, nests deeper than maxJsonDepth, or holds a
// number that its type cannot. Of keys that come twice the last one counts. `Json` keeps objects
// in a tree: a list would make the time quadratic.
template <typename Json = nlohmann::json>
Json parseBounded(std::string_view text) {
    return Json::parse(text.begin(), text.end(),
                       [](int depth, typename Json::parse_event_t, const Json&) {
                           if (depth > maxJsonDepth) throw std::runtime_error("nested too deeply");
                           return true;
                       });
}

} // namespace lanternfly
