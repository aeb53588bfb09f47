#include "app/commands/CommandScript.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include <fmt/format.h>

#include "app/CommandError.h"
#include "app/commands/CommandTable.h"

namespace lanternfly {
namespace {

constexpr std::string_view blanks = " \t\r";
constexpr double mostSeconds = 1e6;

std::optional<double> secondsOf(std::string_view text) {
    double seconds = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (failure != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    if (!(seconds >= 0 && seconds <= mostSeconds)) return std::nullopt;
    return seconds;
}

// Absent for a line that says nothing.
std::optional<TimedCommand> parseLine(std::string_view text) {
    const size_t first = text.find_first_not_of(blanks);
    if (first == text.npos || text[first] == '#') return std::nullopt;
    text.remove_prefix(first);
    const std::string_view time = text.substr(0, text.find_first_of(blanks));
    const auto seconds = secondsOf(time);
    if (!seconds)
        throw CommandError(
            fmt::format("{} is no time: begin with seconds, such as 2.5 next-page", time));
    return TimedCommand{.seconds = *seconds, .command = parseCommand(text.substr(time.size()))};
}

} // namespace

std::vector<TimedCommand> parseScript(std::string_view text, std::string_view name) {
    std::vector<TimedCommand> commands;
    for (int line = 1; !text.empty(); ++line) {
        const size_t length = text.find('\n');
        try {
            if (auto command = parseLine(text.substr(0, length))) {
                command->line = line;
                commands.push_back(std::move(*command));
            }
        } catch (const CommandError& error) {
            throw CommandError(fmt::format("{} line {}: {}", name, line, error.what()));
        }
        text.remove_prefix(length == text.npos ? text.size() : length + 1);
    }
    std::stable_sort(commands.begin(), commands.end(),
                     [](const auto& a, const auto& b) { return a.seconds < b.seconds; });
    return commands;
}

} // namespace lanternfly
