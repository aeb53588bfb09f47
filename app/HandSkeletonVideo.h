// A pose track as a camera: plain pictures with the recorded hands drawn as bones and joints, so
// that a gesture can be replayed without the video that it came from. Joints that are unsure are
// paler; the right hand is warm, the left one cool.
// Threads: bound.
#pragma once

#include "platform/VideoFile.h"
#include "tracks/PoseTrackReader.h"

namespace lanternfly {

class HandSkeletonVideo final : public VideoReader {
public:
    explicit HandSkeletonVideo(PoseTrackReader track);

    const VideoInfo& info() const override { return _info; }
    // Throws PoseTrackError, or std::runtime_error when memory is short.
    std::optional<VideoFrame> next() override;
    std::string damage() const override { return _track.note(); }

private:
    PoseTrackReader _track;
    VideoInfo _info;
};

} // namespace lanternfly
