// Pose tracks out of texts.
// Threads: safe.
#pragma once

#include <sstream>

#include "tracks/PoseTrackReader.h"

namespace lanternfly::test {

inline constexpr const char* plainHeader =
    R"({"lanternfly":"poses","version":1,"width":1280,"height":720,"frameRate":30})";

inline PoseTrackReader trackReader(const std::string& text) {
    return PoseTrackReader(std::make_unique<std::istringstream>(text), "talk.poses");
}
inline PoseTrack trackFrom(const std::string& text) {
    return readPoseTrack(trackReader(text));
}

} // namespace lanternfly::test
