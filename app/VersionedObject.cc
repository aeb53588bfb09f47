#include "app/VersionedObject.h"

#include <stdexcept>

#include <fmt/format.h>

#include "document/BoundedJson.h"

namespace lanternfly {
namespace {

nlohmann::json parsed(std::string_view json) {
    try {
        return parseBounded(json);
    } catch (const std::exception& error) {
        throw std::runtime_error(fmt::format("this is no JSON: {}", error.what()));
    }
}

} // namespace

nlohmann::json parseVersionedObject(std::string_view json, int version) {
    nlohmann::json file = parsed(json);
    if (!file.is_object()) throw std::runtime_error("the file must be one object, { }");
    const auto found = file.find("version");
    if (found == file.end()) throw std::runtime_error("\"version\" is missing; add \"version\": 1");
    if (*found != version)
        throw std::runtime_error(fmt::format(
            "version {} is not known; this program reads version {}", found->dump(), version));
    return file;
}

} // namespace lanternfly
