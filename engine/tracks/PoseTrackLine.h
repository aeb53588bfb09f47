// The lines of a pose track: the first is the header, each other one frame.
// Threads: safe.
#pragma once

#include <string_view>

#include <fmt/format.h>

#include "tracks/PoseTrack.h"

namespace lanternfly::PoseTrackLine {

inline constexpr int version = 1;

// What is wrong with a line, without saying where.
class Error : public std::runtime_error {
public:
    enum class Kind { malformed, notATrack, otherVersion };
    Error(Kind reason, const std::string& text) : std::runtime_error(text), kind(reason) {}
    const Kind kind;
};

// Throws Error.
PoseTrackHeader headerFrom(std::string_view line);
PoseTrackFrame frameFrom(std::string_view line);

// Appends the line with its end. Numbers are written so that they are read again as the same. What
// no recognizer can measure (measurablePoint()) is left out, confidences are kept in 0…1, times to
// the nanosecond.
void append(fmt::memory_buffer& line, const PoseTrackHeader& header);
void append(fmt::memory_buffer& line, const PoseTrackFrame& frame);

} // namespace lanternfly::PoseTrackLine
