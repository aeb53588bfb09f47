// Exceptions never cross a queue: what a task throws becomes a sentence for the log.
// Threads: safe.
#pragma once

#include <exception>
#include <optional>
#include <string>
#include <utility>

namespace lanternfly {

// Runs `body` and returns what went wrong, if anything.
template <typename Body>
std::optional<std::string> failureOf(Body&& body) {
    try {
        std::forward<Body>(body)();
        return std::nullopt;
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "unknown exception";
    }
}

} // namespace lanternfly
