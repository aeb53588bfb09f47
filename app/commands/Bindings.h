// Which sign of a hand and which key does what: a table that the user can edit, as a JSON file:
//   {"version": 1,
//    "signs": [{"sign": "peace-sign", "mode": "slide", "command": "next-page"}, …],
//    "keys": [{"key": "Ctrl+Right", "command": "last-page"}, …]}
// A row without a mode is for every mode but typing, in which keys write; one with a mode goes
// before it. A list that is missing is the built-in one.
// Threads: value.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/HandSign.h"
#include "app/HostMode.h"
#include "app/commands/HostCommand.h"

namespace lanternfly {

template <typename Trigger>
struct Binding {
    Trigger trigger;
    std::optional<HostMode> mode; // absent: every mode but typing
    HostCommand command;

    friend bool operator==(const Binding&, const Binding&) = default;
};

struct Bindings {
    static constexpr int version = 1;
    static constexpr size_t maxFileBytes = 1u << 20;

    std::vector<Binding<HandSign>> signs;
    std::vector<Binding<std::string>> keys; // as keyName() spells them

    static const Bindings& defaults();

    // Null when nothing is bound to it. Any spelling of the key will do.
    const HostCommand* commandFor(HandSign sign, HostMode mode) const;
    const HostCommand* commandForKey(std::string_view key, HostMode mode) const;

    friend bool operator==(const Bindings&, const Bindings&) = default;
};

// What could be read, and for each row that could not a line that says which, why and what to do.
// Such rows are left out; a text that is no such file at all gives the built-in bindings.
struct ReadBindings {
    Bindings bindings;
    std::vector<std::string> problems;
};
ReadBindings parseBindings(std::string_view json);
std::string jsonOf(const Bindings& bindings);

} // namespace lanternfly
