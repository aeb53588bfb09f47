#include "app/EventLog.h"

#include <cmath>

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

void EventLog::hands(int64_t frame, double seconds, std::span<const HandPose> poses) {
    append(_line, "{{\"type\":\"hands\",\"frame\":{},\"time\":{:.4f},\"hands\":[", frame, seconds);
    for (const HandPose& pose : poses) {
        if (&pose != &poses.front()) append(_line, ",");
        appendHand(_line, pose);
    }
    append(_line, "]}}\n");
    writeLine();
}

void EventLog::pinch(int64_t frame, double seconds, const PinchEvent& event) {
    const auto start = [&](const char* phase) {
        append(_line, "{{\"type\":\"pinch\",\"phase\":\"{}\",\"frame\":{},\"time\":{:.4f}", phase,
               frame, seconds);
    };
    match(
        event,
        [&](const PinchBegan& began) {
            start("began");
            appendPoint(_line, began.at);
        },
        [&](const PinchChanged& changed) {
            start("changed");
            appendPoint(_line, changed.at);
            append(_line, ",\"scaleDelta\":");
            appendNumber(_line, changed.scaleDelta);
        },
        [&](const PinchEnded&) { start("ended"); });
    append(_line, "}}\n");
    writeLine();
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
