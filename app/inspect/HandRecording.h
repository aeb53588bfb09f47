// Looks for hands in a video, frame by frame, as a render does, and keeps them as a pose track.
// Threads: bound.
#pragma once

#include <functional>

#include "app/Framing.h"
#include "capture/HandPoseFeed.h"
#include "platform/VideoFile.h"
#include "tracks/PoseTrack.h"

namespace lanternfly {

struct HandRecording {
    VideoReader& video;
    Framing framing;
    HandPoseFeed::DetectorFactory makeDetector;
    // Told the number of frames so far; false stops.
    std::function<bool(int64_t)> onProgress;
};

// Detection times are those of this machine. Throws VideoError, or std::runtime_error when memory
// is short.
PoseTrack recordHands(HandRecording setup);

} // namespace lanternfly
