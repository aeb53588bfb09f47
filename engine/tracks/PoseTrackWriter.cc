#include "tracks/PoseTrackWriter.h"

#include <cerrno>
#include <cmath>
#include <fcntl.h>
#include <unistd.h>

#include "tracks/PoseTrackLine.h"

namespace lanternfly {

std::unique_ptr<PoseTrackWriter> PoseTrackWriter::create(const std::filesystem::path& file,
                                                         const PoseTrackHeader& header) {
    UniqueFd opened(open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (!opened) return nullptr;
    std::unique_ptr<PoseTrackWriter> writer(new PoseTrackWriter(std::move(opened)));
    PoseTrackLine::append(writer->_line, header);
    writer->writeLine();
    return writer;
}

void PoseTrackWriter::add(const PoseTrackFrame& frame) {
    if (!(frame.seconds >= 0 && frame.seconds <= PoseTrackLimits::seconds)) return;
    const int64_t nanos = std::llround(frame.seconds * 1e9); // as it is written
    if (nanos <= _lastNanos) return;
    _lastNanos = nanos;
    PoseTrackLine::append(_line, frame);
    writeLine();
}

void PoseTrackWriter::writeLine() {
    for (size_t written = 0; written < _line.size() && !_hasFailed;) {
        const ssize_t count = write(_file.get(), _line.data() + written, _line.size() - written);
        if (count >= 0)
            written += static_cast<size_t>(count);
        else if (errno != EINTR)
            _hasFailed = true;
    }
    _line.clear();
}

} // namespace lanternfly
