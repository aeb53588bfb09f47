#include "app/EventLog.h"

#include <cmath>

#include <nlohmann/json.hpp>

#include "base/Match.h"

namespace lanternfly {
namespace {

const char* nameOf(HandPose::Chirality chirality) {
    switch (chirality) {
    case HandPose::Chirality::left:
        return "left";
    case HandPose::Chirality::right:
        return "right";
    case HandPose::Chirality::unknown:
        return "unknown";
    }
    return "";
}

template <typename... Arguments>
void append(fmt::memory_buffer& line, fmt::format_string<Arguments...> text,
            Arguments&&... arguments) {
    fmt::format_to(fmt::appender(line), text, std::forward<Arguments>(arguments)...);
}

// JSON knows no NaN.
void appendNumber(fmt::memory_buffer& line, float number) {
    if (std::isfinite(number))
        append(line, "{:.5f}", number);
    else
        append(line, "null");
}

void appendPoint(fmt::memory_buffer& line, float2 point) {
    append(line, ",\"at\":[");
    appendNumber(line, point.x);
    append(line, ",");
    appendNumber(line, point.y);
    append(line, "]");
}

void appendMember(fmt::memory_buffer& line, const char* name, float number) {
    append(line, ",\"{}\":", name);
    appendNumber(line, number);
}

void appendText(fmt::memory_buffer& line, const char* name, std::string_view text) {
    constexpr bool onlyAscii = false;
    append(line, ",\"{}\":{}", name,
           nlohmann::json(text).dump(-1, ' ', onlyAscii, nlohmann::json::error_handler_t::replace));
}

void appendHand(fmt::memory_buffer& line, const HandPose& pose) {
    append(line, "{{\"chirality\":\"{}\",\"confidence\":", nameOf(pose.chirality));
    appendNumber(line, pose.averageConfidence);
    append(line, ",\"landmarks\":[");
    for (const HandLandmark landmark : allHandLandmarks) {
        if (landmark != allHandLandmarks.front()) append(line, ",");
        const HandPose::Point* point = pose.landmarks.find(landmark);
        if (!point) {
            append(line, "null");
            continue;
        }
        append(line, "[");
        appendNumber(line, point->x);
        append(line, ",");
        appendNumber(line, point->y);
        append(line, ",");
        appendNumber(line, point->confidence);
        append(line, "]");
    }
    append(line, "]}}");
}

} // namespace

std::unique_ptr<EventLog> EventLog::create(const std::filesystem::path& file) {
    File opened(std::fopen(file.c_str(), "we"));
    if (!opened) return nullptr;
    return std::unique_ptr<EventLog>(new EventLog(std::move(opened)));
}

// An absent phase is null.
void EventLog::begin(std::string_view type, const char* phase, const FrameStamp& frame) {
    append(_line, "{{\"type\":\"{}\"", type);
    if (phase) append(_line, ",\"phase\":\"{}\"", phase);
    append(_line, ",\"frame\":{},\"time\":{:.4f}", frame.index, frame.pts.seconds());
}

void EventLog::endLine() {
    append(_line, "}}\n");
    writeLine();
}

void EventLog::hands(const FrameStamp& frame, std::span<const HandPose> poses) {
    begin("hands", nullptr, frame);
    append(_line, ",\"hands\":[");
    for (const HandPose& pose : poses) {
        if (&pose != &poses.front()) append(_line, ",");
        appendHand(_line, pose);
    }
    append(_line, "]");
    endLine();
}

void EventLog::pinch(const FrameStamp& frame, const PinchEvent& event) {
    match(
        event,
        [&](const PinchBegan& began) {
            begin("pinch", "began", frame);
            appendPoint(_line, began.at);
        },
        [&](const PinchChanged& changed) {
            begin("pinch", "changed", frame);
            appendPoint(_line, changed.at);
            appendMember(_line, "scaleDelta", changed.scaleDelta);
        },
        [&](const PinchEnded&) { begin("pinch", "ended", frame); });
    endLine();
}

void EventLog::twoHandPinch(const FrameStamp& frame, const TwoHandPinchEvent& event) {
    match(
        event,
        [&](const TwoHandPinchBegan& began) {
            begin("twoHandPinch", "began", frame);
            appendPoint(_line, began.midpoint);
        },
        [&](const TwoHandPinchChanged& changed) {
            begin("twoHandPinch", "changed", frame);
            appendPoint(_line, changed.midpoint);
            appendMember(_line, "scaleRatio", changed.scaleRatio);
            appendMember(_line, "yaw", changed.yawRadians - changed.yawStartRadians);
            appendMember(_line, "separation", changed.separation);
        },
        [&](const TwoHandPinchEnded&) { begin("twoHandPinch", "ended", frame); });
    endLine();
}

void EventLog::sign(const FrameStamp& frame, HandSign sign) {
    begin("sign", nullptr, frame);
    appendText(_line, "sign", lanternfly::nameOf(sign));
    endLine();
}

void EventLog::stroke(const FrameStamp& frame, bool isBegin, int points) {
    begin("stroke", isBegin ? "began" : "ended", frame);
    append(_line, ",\"points\":{}", points);
    endLine();
}

void EventLog::command(const FrameStamp& frame, std::string_view command) {
    begin("command", nullptr, frame);
    appendText(_line, "command", command);
    endLine();
}

void EventLog::page(const FrameStamp& frame, int page) {
    begin("page", nullptr, frame);
    append(_line, ",\"page\":{}", page);
    endLine();
}

void EventLog::face(const FrameStamp& frame, const std::optional<FaceRect>& face) {
    begin("face", nullptr, frame);
    if (face)
        append(_line, ",\"face\":[{:.5g},{:.5g},{:.5g},{:.5g}]", face->x, face->y, face->width,
               face->height);
    else
        append(_line, ",\"face\":null");
    endLine();
}

void EventLog::text(const FrameStamp& frame, std::string_view text) {
    begin("text", nullptr, frame);
    appendText(_line, "text", text);
    endLine();
}

bool EventLog::end(int64_t frames) {
    append(_line, "{{\"type\":\"end\",\"frames\":{}}}\n", frames);
    writeLine();
    if (std::fclose(_file.release()) != 0) _hasFailed = true;
    return !_hasFailed;
}

void EventLog::writeLine() {
    if (std::fwrite(_line.data(), 1, _line.size(), _file.get()) != _line.size()) _hasFailed = true;
    _line.clear();
}

} // namespace lanternfly
