// What the recognizers made of recorded hands as one page of HTML: plots over time, what was let
// pass and why, and how it compares with what had to come. It needs nothing but itself.
// Threads: safe.
#pragma once

#include <string>

#include "app/inspect/EventScore.h"
#include "app/inspect/GestureTimeline.h"
#include "app/inspect/Remarks.h"

namespace lanternfly {

// `name` is what was looked at, as the user calls it.
std::string inspectReport(const std::string& name, const GestureTimeline& timeline,
                          std::span<const Remark> remarks);

// "3 pinches, 1 pinch of both hands and 1 peace sign in 24.0 s, 720 frames."
std::string inspectSummary(const GestureTimeline& timeline);
// "9 of 9 came in time; lag 0.0 frames (median), 2.0 (worst)." Empty without an expectation.
std::string inspectVerdict(const GestureTimeline& timeline);

} // namespace lanternfly
