#include "gpu/vulkan/DeviceChoice.h"

#include <algorithm>
#include <charconv>

namespace lanternfly {

namespace {

using Kind = VulkanCandidate::Kind;

int rank(Kind kind) {
    switch (kind) {
    case Kind::discrete:
        return 0;
    case Kind::integrated:
        return 1;
    case Kind::virtualised:
        return 2;
    case Kind::other:
        return 3;
    case Kind::cpu:
        return 4;
    }
    return 5;
}

std::optional<Kind> kindNamed(std::string_view selector) {
    if (selector == "discrete") return Kind::discrete;
    if (selector == "integrated") return Kind::integrated;
    if (selector == "virtual") return Kind::virtualised;
    if (selector == "cpu") return Kind::cpu;
    return std::nullopt;
}

std::string lowered(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return result;
}

bool fits(const VulkanCandidate& candidate, size_t index, std::string_view selector) {
    if (selector.empty()) return true;
    if (const auto kind = kindNamed(selector)) return candidate.kind == *kind;
    size_t wanted = 0;
    const auto [end, error] =
        std::from_chars(selector.data(), selector.data() + selector.size(), wanted);
    if (error == std::errc() && end == selector.data() + selector.size()) return index == wanted;
    return lowered(candidate.name).find(lowered(selector)) != std::string::npos;
}

} // namespace

std::optional<size_t> chooseVulkanDevice(const std::vector<VulkanCandidate>& candidates,
                                         std::string_view selector) {
    std::optional<size_t> best;
    for (size_t i = 0; i < candidates.size(); ++i) {
        if (!candidates[i].isUsable || !fits(candidates[i], i, selector)) continue;
        if (!best || rank(candidates[i].kind) < rank(candidates[*best].kind)) best = i;
    }
    return best;
}

} // namespace lanternfly
