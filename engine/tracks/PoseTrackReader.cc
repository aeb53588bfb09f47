#include "tracks/PoseTrackReader.h"

#include <cerrno>
#include <fstream>
#include <system_error>

#include <fmt/format.h>

#include "tracks/PoseTrackLine.h"

namespace lanternfly {

namespace {

// A folder or a pipe would fail or wait in its own way.
std::unique_ptr<std::istream> openFile(const std::filesystem::path& file) {
    std::error_code failure;
    const auto status = std::filesystem::status(file, failure);
    if (exists(status) && !is_regular_file(status))
        throw PoseTrackError(PoseTrackError::Kind::notATrack,
                             fmt::format("{}: this is no file; give a pose track", file.string()));
    auto stream = std::make_unique<std::ifstream>(file, std::ios::binary);
    if (!*stream)
        throw PoseTrackError(PoseTrackError::Kind::notFound,
                             fmt::format("{}: {}; give a pose track that can be read",
                                         file.string(), std::generic_category().message(errno)));
    return stream;
}

PoseTrackError::Kind kindOf(PoseTrackLine::Error::Kind kind) {
    switch (kind) {
    case PoseTrackLine::Error::Kind::malformed:
        return PoseTrackError::Kind::malformed;
    case PoseTrackLine::Error::Kind::notATrack:
        return PoseTrackError::Kind::notATrack;
    case PoseTrackLine::Error::Kind::otherVersion:
        return PoseTrackError::Kind::otherVersion;
    }
    return PoseTrackError::Kind::malformed;
}

} // namespace

PoseTrackReader::PoseTrackReader(const std::filesystem::path& file)
    : PoseTrackReader(openFile(file), file.string()) {}

PoseTrackReader::PoseTrackReader(std::unique_ptr<std::istream> text, std::string name)
    : _text(std::move(text)), _name(std::move(name)) {
    _line.resize(PoseTrackLimits::lineBytes);
    readHeader();
}

void PoseTrackReader::readHeader() {
    if (!readLine()) fail(PoseTrackError::Kind::notATrack, "this file is empty");
    try {
        _header = PoseTrackLine::headerFrom(_line);
    } catch (const PoseTrackLine::Error& error) {
        fail(kindOf(error.kind), error.what());
    }
}

std::optional<PoseTrackFrame> PoseTrackReader::next() {
    if (!readLine()) return std::nullopt;
    std::optional<PoseTrackFrame> frame;
    try {
        frame = PoseTrackLine::frameFrom(_line);
    } catch (const PoseTrackLine::Error& error) {
        if (!_isCut) fail(kindOf(error.kind), error.what());
        _note = fmt::format("{}:{}: the last line is cut off and left out", _name, _lineNumber);
        return std::nullopt;
    }
    if (frame->seconds <= _lastSeconds)
        fail(PoseTrackError::Kind::malformed,
             fmt::format("\"time\" must rise: {} does not come after {}", frame->seconds,
                         _lastSeconds));
    _lastSeconds = frame->seconds;
    return frame;
}

bool PoseTrackReader::readLine() {
    _line.resize(PoseTrackLimits::lineBytes);
    _text->getline(_line.data(), static_cast<std::streamsize>(_line.size()));
    const auto taken = static_cast<size_t>(_text->gcount());
    if (taken == 0 && _text->eof()) return false;
    ++_lineNumber;
    if (_text->bad()) fail(PoseTrackError::Kind::malformed, "the file cannot be read on");
    if (_text->fail())
        fail(PoseTrackError::Kind::malformed,
             fmt::format("this line is longer than {} bytes", PoseTrackLimits::lineBytes));
    _isCut = _text->eof();
    _line.resize(_isCut ? taken : taken - 1); // gcount() counts the end of the line
    if (!_line.empty() && _line.back() == '\r') _line.pop_back();
    return true;
}

void PoseTrackReader::fail(PoseTrackError::Kind kind, const std::string& text) const {
    throw PoseTrackError(kind,
                         fmt::format("{}:{}: {}", _name, std::max<size_t>(_lineNumber, 1), text));
}

PoseTrack readPoseTrack(PoseTrackReader reader) {
    PoseTrack track{.header = reader.header()};
    while (auto frame = reader.next()) {
        if (track.frames.size() == PoseTrackLimits::frames)
            throw PoseTrackError(PoseTrackError::Kind::tooLong,
                                 fmt::format("a pose track of more than {} frames is too long; cut "
                                             "it into pieces",
                                             PoseTrackLimits::frames));
        track.frames.push_back(std::move(*frame));
    }
    track.note = reader.note();
    return track;
}

} // namespace lanternfly
