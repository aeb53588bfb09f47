// Plays recorded hands through the recognizers and the motion of the slide, connected as in a
// presentation, and keeps what came of each frame.
// Threads: safe.
#pragma once

#include "app/inspect/GestureTimeline.h"
#include "store/TrackingConfig.h"

namespace lanternfly {

GestureTimeline replayGestures(const PoseTrack& track,
                               const TrackingConfig& tuning = TrackingConfig::defaults);

} // namespace lanternfly
