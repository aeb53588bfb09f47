// What the hands and the keys are for at the moment.
// Threads: value.
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace lanternfly {

enum class HostMode { slide, drawing, typing, model };

struct HostModeName {
    HostMode mode;
    std::string_view name; // as bindings and event logs have it
};
inline constexpr std::array hostModeNames{
    HostModeName{HostMode::slide, "slide"}, HostModeName{HostMode::drawing, "drawing"},
    HostModeName{HostMode::typing, "typing"}, HostModeName{HostMode::model, "model"}};

constexpr std::string_view nameOf(HostMode mode) {
    return hostModeNames[static_cast<size_t>(mode)].name;
}
constexpr std::optional<HostMode> hostMode(std::string_view name) {
    for (const auto& row : hostModeNames)
        if (row.name == name) return row.mode;
    return std::nullopt;
}

} // namespace lanternfly
