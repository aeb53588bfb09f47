// The files of the user's that are one JSON object with a version.
// Threads: safe.
#pragma once

#include <string_view>

#include <nlohmann/json.hpp>

namespace lanternfly {

// Throws std::runtime_error that says what is wrong.
nlohmann::json parseVersionedObject(std::string_view json, int version);

} // namespace lanternfly
