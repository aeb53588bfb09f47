// The cameras that have been seen, by node, and the identifiers that they were given: an
// identifier stays with its node as long as the camera is attached.
// Threads: safe.
#pragma once

#include <atomic>
#include <cstdint>
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

    // A camera that is plugged in again is another arrival.
    struct Place {
        std::filesystem::path node;
        uint64_t arrival = 0;
    };

    // The camera's identifier.
    std::string add(const NodeFacts& facts);
    // What was removed, if it was known.
    std::optional<Camera> removeNode(const std::string& syspath);
    std::optional<Camera> removeArrival(uint64_t arrival);
    std::optional<Place> placeOf(const std::string& uniqueID) const;

private:
    struct Entry {
        NodeFacts facts;
        std::string uniqueID;
        uint64_t arrival;
    };
    static std::optional<Camera> remove(std::map<std::string, Entry>& all,
                                        std::map<std::string, Entry>::iterator found);

    LockedCell<std::map<std::string, Entry>> _entries; // by syspath
    std::atomic<uint64_t> _arrivals{0};
};

} // namespace lanternfly::v4l2
