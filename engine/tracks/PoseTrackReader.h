// Reads a pose track frame by frame.
// Threads: bound.
#pragma once

#include <filesystem>
#include <istream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "tracks/PoseTrack.h"

namespace lanternfly {

// what() is one sentence for the user that names the file and the line.
class PoseTrackError : public std::runtime_error {
public:
    enum class Kind { notFound, notATrack, otherVersion, malformed, tooLong };
    PoseTrackError(Kind reason, const std::string& text) : std::runtime_error(text), kind(reason) {}
    const Kind kind;
};

class PoseTrackReader {
public:
    // Both read the header. Throw PoseTrackError.
    explicit PoseTrackReader(const std::filesystem::path& file);
    PoseTrackReader(std::unique_ptr<std::istream> text, std::string name);

    const PoseTrackHeader& header() const { return _header; }
    // The next frame, or nothing at the end. Throws PoseTrackError.
    std::optional<PoseTrackFrame> next();
    // After the end: what was wrong with the file, in a sentence; empty for a whole one. The last
    // line of a program that was killed may be cut off: it is left out.
    const std::string& note() const { return _note; }

private:
    void readHeader();
    // False at the end. Notes whether the line has no end of its own.
    bool readLine();
    [[noreturn]] void fail(PoseTrackError::Kind kind, const std::string& text) const;

    std::unique_ptr<std::istream> _text;
    std::string _name;
    std::string _line;
    bool _isCut = false;
    size_t _lineNumber = 0;
    PoseTrackHeader _header;
    double _lastSeconds = -1;
    std::string _note;
};

// All of it. Throws PoseTrackError.
PoseTrack readPoseTrack(PoseTrackReader reader);

} // namespace lanternfly
