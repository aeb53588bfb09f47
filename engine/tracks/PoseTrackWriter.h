// Writes a pose track as it happens. Each frame goes to the system as one whole line, so that a
// program that is killed loses none of them.
// Threads: bound.
#pragma once

#include <filesystem>
#include <memory>
#include <span>

#include <fmt/format.h>

#include "base/UniqueFd.h"
#include "tracks/PoseTrack.h"

namespace lanternfly {

class PoseTrackWriter {
public:
    // Null when the file cannot be written; errno says why.
    static std::unique_ptr<PoseTrackWriter> create(const std::filesystem::path& file,
                                                   const PoseTrackHeader& header);

    // A frame that does not come later than the one before is left out.
    void add(const PoseTrackFrame& frame);
    // False when something could not be written; nothing is written after the first failure.
    bool isWhole() const { return !_hasFailed; }

private:
    explicit PoseTrackWriter(UniqueFd file) : _file(std::move(file)) {}
    void writeLine();

    UniqueFd _file;
    fmt::memory_buffer _line; // keeps its memory
    int64_t _lastNanos = -1;
    bool _hasFailed = false;
};

} // namespace lanternfly
