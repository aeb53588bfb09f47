// The tracks of tests/tracks by their names.
// Threads: safe.
#pragma once

#include "app/inspect/GestureReplay.h"
#include "tracks/PoseTrackReader.h"

namespace lanternfly::test {

inline PoseTrack trackOfSet(const std::string& name) {
    return readPoseTrack(PoseTrackReader(std::filesystem::path(LANTERNFLY_SOURCE_DIR) /
                                         "tests/tracks" / (name + ".jsonl")));
}
inline GestureTimeline timelineOfSet(const std::string& name) {
    return replayGestures(trackOfSet(name));
}

} // namespace lanternfly::test
