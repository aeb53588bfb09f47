// When the frames of a file that plays in a loop are due.
// Threads: bound.
#pragma once

#include <cstdint>
#include <optional>

#include "base/MediaTime.h"

namespace lanternfly {

class FilePacing {
public:
    // A file that is later than this (the machine slept, or reads too slowly) goes on from now.
    static constexpr uint64_t maxLateNanos = 500'000'000;

    // The time of one frame at the file's nominal rate.
    explicit FilePacing(uint64_t frameNanos) : _frameNanos(frameNanos) {}

    // The uptime at which the frame is due; rises from frame to frame. Times of frames rise within
    // a round.
    uint64_t dueAt(MediaTime pts, uint64_t nowNanos);
    // The next frame begins a new round, one nominal frame after the last.
    void rewind();

private:
    const uint64_t _frameNanos;
    std::optional<uint64_t> _roundStart; // uptime of the round's time 0
    uint64_t _lastDue = 0;
};

} // namespace lanternfly
