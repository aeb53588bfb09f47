#include "platform/linux/v4l2/KnownNodes.h"

#include <algorithm>

namespace lanternfly::v4l2 {
namespace {

// Another camera in the same port may get the node of the one that left unnoticed.
bool isSameCamera(const NodeFacts& a, const NodeFacts& b) {
    return a.byId == b.byId && a.byPath == b.byPath && a.card == b.card && a.busInfo == b.busInfo;
}

} // namespace

std::string KnownNodes::add(const NodeFacts& facts) {
    return _entries.withLock([&](auto& all) {
        const auto known = all.find(facts.syspath);
        if (known != all.end()) {
            if (isSameCamera(known->second.facts, facts)) {
                known->second.facts = facts;
                return known->second.uniqueID;
            }
            all.erase(known);
        }
        std::set<std::string> taken;
        for (const auto& [syspath, entry] : all)
            taken.insert(entry.uniqueID);
        const std::string id = idOf(facts, taken);
        all.emplace(facts.syspath, Entry{facts, id, ++_arrivals});
        return id;
    });
}

std::optional<KnownNodes::Camera> KnownNodes::remove(std::map<std::string, Entry>& all,
                                                     std::map<std::string, Entry>::iterator found) {
    if (found == all.end()) return std::nullopt;
    Camera camera{found->second.uniqueID, nameOf(found->second.facts)};
    all.erase(found);
    return camera;
}

std::optional<KnownNodes::Camera> KnownNodes::removeNode(const std::string& syspath) {
    return _entries.withLock([&](auto& all) { return remove(all, all.find(syspath)); });
}

std::optional<KnownNodes::Camera> KnownNodes::removeArrival(uint64_t arrival) {
    return _entries.withLock([&](auto& all) {
        return remove(all, std::ranges::find_if(all, [&](const auto& entry) {
                          return entry.second.arrival == arrival;
                      }));
    });
}

std::optional<KnownNodes::Place> KnownNodes::placeOf(const std::string& uniqueID) const {
    return _entries.withLock([&](const auto& all) -> std::optional<Place> {
        const auto found = std::ranges::find_if(
            all, [&](const auto& entry) { return entry.second.uniqueID == uniqueID; });
        if (found == all.end()) return std::nullopt;
        return Place{found->second.facts.node, found->second.arrival};
    });
}

} // namespace lanternfly::v4l2
