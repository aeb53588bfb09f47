// Writes what the hands do as lines of JSON, one object a line:
//   {"type":"hands","frame":12,"time":0.4,"hands":[{"chirality":"right","confidence":0.91,
//    "landmarks":[[x,y,confidence] or null, …21]}]}             frames with hands only
//   {"type":"pinch","phase":"began","frame":131,"time":4.3667,"at":[x,y]}    also "changed", with
//    "scaleDelta", and "ended", without "at"
//   {"type":"end","frames":720}                                          the last line
// Positions are in 0…1 with the origin at the lower left of the framed camera picture, landmarks
// from wrist to little finger's tip, times in seconds.
// Threads: bound.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <span>

#include <fmt/format.h>

#include "gestures/HandPose.h"
#include "gestures/PinchEvent.h"

namespace lanternfly {

class EventLog {
public:
    // Null when the file cannot be opened; errno says why.
    static std::unique_ptr<EventLog> create(const std::filesystem::path& file);

    void hands(int64_t frame, double seconds, std::span<const HandPose> poses);
    void pinch(int64_t frame, double seconds, const PinchEvent& event);
    // Ends the file. False when something could not be written.
    bool end(int64_t frames);

private:
    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    using File = std::unique_ptr<std::FILE, CloseFile>;
    explicit EventLog(File file) : _file(std::move(file)) {}
    void writeLine();

    File _file;
    fmt::memory_buffer _line;
    bool _hasFailed = false;
};

} // namespace lanternfly
