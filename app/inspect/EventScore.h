// Compares the events that came with those that had to.
// Threads: value.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "app/inspect/GestureTimeline.h"

namespace lanternfly {

struct EventScore {
    int found = 0;                     // within their tolerance
    int late = 0;                      // came, but outside it
    int missed = 0;                    // never came
    int unasked = 0;                   // came and were not expected
    std::vector<double> lagFrames{};   // of those found, in order; below 0: early
    std::vector<std::string> faults{}; // one line for each event that is not right

    bool isRight() const { return late + missed + unasked == 0; }
    std::optional<double> medianLag() const;
    std::optional<double> worstLag() const;
    void add(const EventScore& other);
};

EventScore scoreEvents(std::span<const ExpectedEvent> expected,
                       std::span<const TimelineEvent> events, double frameRate);

} // namespace lanternfly
