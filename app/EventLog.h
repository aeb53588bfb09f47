// Writes what the hands and the commands do as lines of JSON, one object a line:
//   {"type":"hands","frame":12,"time":0.4,"hands":[{"chirality":"right","confidence":0.91,
//    "landmarks":[[x,y,confidence] or null, …21]}]}             frames with hands only
//   {"type":"pinch","phase":"began","frame":131,"time":4.3667,"at":[x,y]}    also "changed", with
//    "scaleDelta", and "ended", without "at"
//   {"type":"twoHandPinch","phase":"began","frame":140,"time":4.6667,"at":[x,y]}    between the
//    hands; also "changed", with "scaleRatio", "yaw" (since the beginning) and "separation", and
//    "ended", without "at"
//   {"type":"sign","sign":"peace-sign","frame":200,"time":6.6667}
//   {"type":"stroke","phase":"began","frame":150,"time":5.0,"points":1}    also "ended"
//   {"type":"command","frame":201,"time":6.7,"command":"next-page"}    as scripts have it
//   {"type":"page","frame":201,"time":6.7,"page":2}    shown from this frame on, from 1
//   {"type":"text","frame":210,"time":7.0,"text":"…"}    all of it, after every change
//   {"type":"face","frame":6,"time":0.2,"face":[x,y,width,height] or null}    when it changes
//   {"type":"end","frames":720}                                          the last line
// Positions are in 0…1 with the origin at the lower left of the framed camera picture, landmarks
// from wrist to little finger's tip, times in seconds.
// Threads: bound.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>

#include <fmt/format.h>

#include "app/FrameStamp.h"
#include "app/HandSign.h"
#include "gestures/HandPose.h"
#include "gestures/PinchEvent.h"
#include "gestures/TwoHandPinchEvent.h"
#include "platform/FaceDetector.h"

namespace lanternfly {

class EventLog {
public:
    // Null when the file cannot be opened; errno says why.
    static std::unique_ptr<EventLog> create(const std::filesystem::path& file);

    void hands(const FrameStamp& frame, std::span<const HandPose> poses);
    void pinch(const FrameStamp& frame, const PinchEvent& event);
    void twoHandPinch(const FrameStamp& frame, const TwoHandPinchEvent& event);
    void sign(const FrameStamp& frame, HandSign sign);
    void stroke(const FrameStamp& frame, bool isBegin, int points);
    void command(const FrameStamp& frame, std::string_view command);
    void page(const FrameStamp& frame, int page);
    void text(const FrameStamp& frame, std::string_view text);
    void face(const FrameStamp& frame, const std::optional<FaceRect>& face);
    // Ends the file. False when something could not be written.
    bool end(int64_t frames);

private:
    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    using File = std::unique_ptr<std::FILE, CloseFile>;
    explicit EventLog(File file) : _file(std::move(file)) {}
    void begin(std::string_view type, const char* phase, const FrameStamp& frame);
    void endLine();
    void writeLine();

    File _file;
    fmt::memory_buffer _line;
    bool _hasFailed = false;
};

} // namespace lanternfly
