#include "app/ShowRecords.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fmt/format.h>

#include "app/CommandError.h"
#include "diagnostics/PerfSignposts.h"

namespace lanternfly {
namespace {

using WhenAbandoned = OutputFile::WhenAbandoned;

std::unique_ptr<OutputFile> opened(const ShowOptions::File& target, WhenAbandoned whenAbandoned) {
    if (!target) return nullptr;
    return std::make_unique<OutputFile>(*target, whenAbandoned);
}

[[noreturn]] void refuse(const OutputFile& file, const char* option) {
    throw CommandError(fmt::format("cannot write {}: {}; choose another place for {}",
                                   file.workPath().string(), std::strerror(errno), option));
}

[[noreturn]] void tellDiskFull(const ShowOptions::File& target) {
    throw CommandError(
        fmt::format("cannot write {}: make room on its disk and run again", target->string()));
}

} // namespace

// Hands are useful as far as they got, so they are kept whatever happens.
ShowRecords::ShowRecords(const ShowOptions& options, int handWidthPX, int handHeightPX,
                         double frameRate)
    : _eventTarget(options.events), _poseTarget(options.recordedPoses),
      _eventFile(opened(options.events, WhenAbandoned::remove)),
      _poseFile(opened(options.recordedPoses, WhenAbandoned::keep)),
      _traceFile(opened(options.trace, WhenAbandoned::remove)) {
    if (_eventFile && !(_events = EventLog::create(_eventFile->workPath())))
        refuse(*_eventFile, "--events");
    if (_poseFile && !(_poses = PoseTrackWriter::create(
                           _poseFile->workPath(),
                           {.widthPX = std::clamp(handWidthPX, 1, PoseTrackLimits::sidePX),
                            .heightPX = std::clamp(handHeightPX, 1, PoseTrackLimits::sidePX),
                            .frameRate = frameRate})))
        refuse(*_poseFile, "--record-poses");
    if (_traceFile && !(_trace = TraceFile::create(_traceFile->workPath())))
        throw CommandError("cannot write the trace; choose another place for --trace");
    if (_trace) PerfSignposts::setTrace(_trace);
}

ShowRecords::~ShowRecords() {
    if (_trace) PerfSignposts::setTrace(nullptr);
}

void ShowRecords::finish(int64_t frames) {
    if (_events && !_events->end(frames)) tellDiskFull(_eventTarget);
    if (_eventFile) _eventFile->commit();
    if (_poses && !_poses->isWhole()) tellDiskFull(_poseTarget);
    if (_poseFile) _poseFile->commit();
    if (_trace) PerfSignposts::setTrace(nullptr);
    _trace.reset();
    if (_traceFile) _traceFile->commit();
}

} // namespace lanternfly
