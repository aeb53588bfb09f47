// Commands with their times, for presentations without anybody at the keys. One a line:
//   # seconds, then the command
//   2.5  next-page
//   4    ink-colour red
// Threads: value.
#pragma once

#include <string_view>
#include <vector>

#include "app/commands/HostCommand.h"

namespace lanternfly {

struct TimedCommand {
    double seconds = 0;
    HostCommand command{};
    int line = 0; // of the script, from 1

    friend bool operator==(const TimedCommand&, const TimedCommand&) = default;
};

// In order of time; commands of the same time in order of their lines. Throws CommandError, which
// names the line and begins with `name`.
std::vector<TimedCommand> parseScript(std::string_view text, std::string_view name);

} // namespace lanternfly
