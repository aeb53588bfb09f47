// Plays a pose track beside a camera: each camera frame gets the hands of its time, as if they had
// been found in it.
// Threads: bound.
#pragma once

#include "tracks/PoseTrackReader.h"

namespace lanternfly {

class PoseTrackPlayer {
public:
    explicit PoseTrackPlayer(PoseTrackReader reader);

    const PoseTrackHeader& header() const { return _reader.header(); }
    // The newest frame up to `seconds`, half a frame later at most, that was not given before; null
    // when there is none, or none that was looked at. `seconds` rises from call to call. Throws
    // PoseTrackError.
    const PoseTrackFrame* at(double seconds);
    const std::string& note() const { return _reader.note(); }

private:
    PoseTrackReader _reader;
    std::optional<PoseTrackFrame> _given, _next;
};

} // namespace lanternfly
