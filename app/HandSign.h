// The signs that a hand can be held in, by their names.
// Threads: value.
#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "gestures/HandGestureRecognizer.h"

namespace lanternfly {

using HandSign = HandGestureRecognizer::Event;

struct HandSignName {
    HandSign sign;
    std::string_view name; // as bindings and event logs have it
};
inline constexpr std::array handSignNames{HandSignName{HandSign::peaceSign, "peace-sign"}};

constexpr std::string_view nameOf(HandSign sign) {
    return handSignNames[static_cast<size_t>(sign)].name;
}
constexpr std::optional<HandSign> handSign(std::string_view name) {
    for (const auto& row : handSignNames)
        if (row.name == name) return row.sign;
    return std::nullopt;
}

} // namespace lanternfly
