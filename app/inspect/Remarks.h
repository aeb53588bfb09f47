// Says in words what the recognizers let pass and why: pinches that nearly were, holds that were
// too short, hands that the detector was not sure of.
// Threads: safe.
#pragma once

#include <string>
#include <vector>

#include "app/inspect/GestureTimeline.h"

namespace lanternfly {

struct Remark {
    double startSeconds = 0, endSeconds = 0;
    std::string text; // a sentence or two, without the time
};

// In the order of their beginnings.
std::vector<Remark> remarksOn(const GestureTimeline& timeline);

} // namespace lanternfly
