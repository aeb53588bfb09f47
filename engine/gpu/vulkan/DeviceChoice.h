// Which of the machine's Vulkan devices to draw on.
// Threads: value.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lanternfly {

struct VulkanCandidate {
    enum class Kind { discrete, integrated, virtualised, cpu, other };

    std::string name; // as the driver gives it
    Kind kind = Kind::other;
    // Vulkan 1.3 with all that the renderer cannot do without.
    bool isUsable = false;
};

// An index into the candidates; absent when none that is usable fits.
//
// An empty selector takes the first of the best kind: discrete, integrated, virtual, other, CPU.
// "discrete", "integrated", "virtual" and "cpu" ask for a kind, a number for a place in the
// driver's list, and anything else for a part of the name in upper or lower case.
std::optional<size_t> chooseVulkanDevice(const std::vector<VulkanCandidate>& candidates,
                                         std::string_view selector);

} // namespace lanternfly
