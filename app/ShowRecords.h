// The files that a show writes beside its picture: events, hands, a trace.
// Threads: bound; what they hand out has threads of its own.
#pragma once

#include <memory>

#include "app/EventLog.h"
#include "app/ShowOptions.h"
#include "diagnostics/TraceFile.h"
#include "platform/linux/video/OutputFile.h"
#include "tracks/PoseTrackWriter.h"

namespace lanternfly {

class ShowRecords {
public:
    // Opens what the options ask for; hands are seen in pictures of this size. Throws CommandError
    // or OutputFile::Error.
    ShowRecords(const ShowOptions& options, int handWidthPX, int handHeightPX, double frameRate);
    ~ShowRecords();

    // Null when not asked for.
    EventLog* events() const { return _events.get(); }
    PoseTrackWriter* poses() const { return _poses.get(); }
    const std::shared_ptr<TraceFile>& trace() const { return _trace; }

    // Completes the files; everybody else has let go of them. Throws CommandError.
    void finish(int64_t frames);

private:
    const ShowOptions::File _eventTarget, _poseTarget;
    std::unique_ptr<OutputFile> _eventFile, _poseFile, _traceFile;
    std::unique_ptr<EventLog> _events;
    std::unique_ptr<PoseTrackWriter> _poses;
    std::shared_ptr<TraceFile> _trace;
};

} // namespace lanternfly
