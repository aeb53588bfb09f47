// Values with the names that files and event logs have for them.
// Threads: value.
#pragma once

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

namespace lanternfly {

template <typename Value>
struct Named {
    Value value;
    std::string_view name;
};

template <typename Value, size_t count>
using NameTable = std::array<Named<Value>, count>;

// The value is in the table.
template <typename Value, size_t count>
constexpr std::string_view nameIn(const NameTable<Value, count>& table, Value value) {
    return std::ranges::find(table, value, &Named<Value>::value)->name;
}

template <typename Value, size_t count>
constexpr std::optional<Value> valueIn(const NameTable<Value, count>& table,
                                       std::string_view name) {
    const auto row = std::ranges::find(table, name, &Named<Value>::name);
    return row == table.end() ? std::nullopt : std::optional(row->value);
}

} // namespace lanternfly
