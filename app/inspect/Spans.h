// Runs of frames that have something in common.
// Threads: safe.
#pragma once

#include <span>
#include <vector>

#include "app/inspect/GestureTimeline.h"

namespace lanternfly {

struct Span {
    size_t first = 0, last = 0; // indices of frames, both included
};

// The spans whose frames fulfil a condition; gaps of up to `gapSeconds` are bridged.
template <typename Holds>
std::vector<Span> spansWhere(std::span<const TimelineFrame> frames, double gapSeconds,
                             Holds&& holds) {
    std::vector<Span> spans;
    bool isAdjacent = false;
    for (size_t i = 0; i < frames.size(); ++i) {
        const bool isInside = holds(frames[i]);
        const bool continues =
            isInside && !spans.empty() &&
            (isAdjacent || frames[i].seconds - frames[spans.back().last].seconds <= gapSeconds);
        if (continues)
            spans.back().last = i;
        else if (isInside)
            spans.push_back({i, i});
        isAdjacent = isInside;
    }
    return spans;
}

} // namespace lanternfly
