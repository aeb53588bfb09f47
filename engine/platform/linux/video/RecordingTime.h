// The times of a recording's frames: from 0, rising, and without the leaps that clocks make.
// Threads: bound.
#pragma once

#include <cstdint>
#include <optional>

#include "base/MediaTime.h"

namespace lanternfly {

class RecordingTime {
public:
    // A longer gap is no pause of the camera: the clock was set.
    static constexpr double maxGapSeconds = 3600;

    explicit RecordingTime(double frameSeconds) : _frameSeconds(frameSeconds) {}

    // Nanoseconds from the start. A time that is invalid, does not rise or leaps counts as one
    // frame after the last.
    MediaTime next(MediaTime pts);
    // Where a sound of this time belongs, in seconds; below 0 before the first frame. Of meaning
    // once there was a frame.
    double secondsOf(MediaTime pts) const;

private:
    const double _frameSeconds;
    std::optional<double> _lastSource;
    double _last = 0;
};

} // namespace lanternfly
