// Ends a command with one line for the user: what is wrong, where, and what to do next.
// Threads: value.
#pragma once

#include <stdexcept>

namespace lanternfly {

class CommandError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace lanternfly
