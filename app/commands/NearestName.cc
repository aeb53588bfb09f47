#include "app/commands/NearestName.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace lanternfly {
namespace {

constexpr size_t longestName = 60; // what is longer was not meant as a name

// Levenshtein's.
size_t editDistance(std::string_view a, std::string_view b) {
    std::vector<size_t> distances(b.size() + 1);
    std::iota(distances.begin(), distances.end(), size_t{0});
    for (size_t i = 0; i < a.size(); ++i) {
        size_t diagonal = std::exchange(distances[0], i + 1);
        for (size_t j = 0; j < b.size(); ++j) {
            const size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = distances[j + 1];
            distances[j + 1] = std::min({replaced, diagonal + 1, distances[j] + 1});
        }
    }
    return distances.back();
}

} // namespace

std::string_view nearestName(std::string_view name, const std::vector<std::string_view>& names) {
    if (name.size() > longestName) return {};
    std::string_view nearest;
    size_t least = std::max<size_t>(2, name.size() / 2) + 1;
    for (const auto candidate : names) {
        const size_t distance = editDistance(name, candidate);
        if (distance >= least) continue;
        least = distance;
        nearest = candidate;
    }
    return nearest;
}

} // namespace lanternfly
