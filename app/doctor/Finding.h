// What an examination of the machine found: one thing, how it is, and what to do about it.
// Threads: value.
#pragma once

#include <string>
#include <vector>

namespace lanternfly {

struct Finding {
    enum class State {
        well,
        lacking, // works without, with less
        wrong,   // presenting does not work as it is
    };
    std::string about; // "cameras"
    State state = State::well;
    std::string text;       // one sentence
    std::string whatToDo{}; // empty when all is well

    friend bool operator==(const Finding&, const Finding&) = default;
};

constexpr const char* nameOf(Finding::State state) {
    switch (state) {
    case Finding::State::well:
        return "well";
    case Finding::State::lacking:
        return "lacking";
    case Finding::State::wrong:
        return "wrong";
    }
    return "wrong";
}

} // namespace lanternfly
