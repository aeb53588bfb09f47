// The cameras that have been seen, by node, and the identifiers that they were given: an
// identifier stays with its node as long as the camera is attached.
// Threads: safe.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "base/LockedCell.h"
#include "platform/linux/v4l2/NodeFacts.h"

namespace lanternfly::v4l2 {

class KnownNodes {
public:
    struct Camera {
        std::string uniqueID;
        std::string localizedName;
    };

    // The camera's identifier.
    std::string add(const NodeFacts& facts);
    // What was removed, if it was known.
    std::optional<Camera> removeNode(const std::string& syspath);
    std::optional<Camera> removeCamera(const std::string& uniqueID);
    std::optional<std::filesystem::path> nodeOf(const std::string& uniqueID) const;

private:
    struct Entry {
        NodeFacts facts;
        std::string uniqueID;
    };
    std::optional<Camera> remove(std::map<std::string, Entry>& all,
                                 std::map<std::string, Entry>::iterator found);

    LockedCell<std::map<std::string, Entry>> _entries; // by syspath
};

} // namespace lanternfly::v4l2
