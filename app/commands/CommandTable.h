// The table of all commands, and commands as text: a name, and what it takes after a space.
// Threads: safe.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "app/commands/HostCommand.h"

namespace lanternfly {

enum class CommandGroup { pages, slide, ink, text, picture, session };
inline constexpr std::array allCommandGroups{CommandGroup::pages,   CommandGroup::slide,
                                             CommandGroup::ink,     CommandGroup::text,
                                             CommandGroup::picture, CommandGroup::session};
std::string_view nameOf(CommandGroup group);

struct CommandRow {
    std::string_view name;
    std::string_view argument; // as help shows it, in brackets when it may be left out
    std::string_view expected; // in a sentence: "a page number, 1 for the first"
    std::string_view summary;
    CommandGroup group;
    std::string_view key; // the built-in one; empty: none
    // Absent when the argument is not what is expected.
    std::optional<HostCommand> (*parse)(std::string_view argument);
};

std::span<const CommandRow> commandTable();

// Throws CommandError, which says what would be right.
HostCommand parseCommand(std::string_view text);
// The text that parses as this command.
std::string textOf(const HostCommand& command);

} // namespace lanternfly
