#include "tracks/PoseTrackLine.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "document/BoundedJson.h"

namespace lanternfly {

namespace {

constexpr std::array events{GestureEvent::pinchBegan, GestureEvent::pinchEnded,
                            GestureEvent::twoHandBegan, GestureEvent::twoHandEnded,
                            GestureEvent::peaceSign};
constexpr std::pair<HandPose::Chirality, const char*> chiralities[] = {
    {HandPose::Chirality::left, "left"},
    {HandPose::Chirality::right, "right"},
    {HandPose::Chirality::unknown, "unknown"}};

} // namespace

const char* nameOf(GestureEvent event) {
    switch (event) {
    case GestureEvent::pinchBegan:
        return "pinch began";
    case GestureEvent::pinchEnded:
        return "pinch ended";
    case GestureEvent::twoHandBegan:
        return "two-hand began";
    case GestureEvent::twoHandEnded:
        return "two-hand ended";
    case GestureEvent::peaceSign:
        return "peace sign";
    }
    return "";
}

namespace PoseTrackLine {

namespace {

using Json = nlohmann::json;

[[noreturn]] void malformed(const std::string& text) {
    throw Error(Error::Kind::malformed, text);
}

Json objectFrom(std::string_view line) {
    Json json;
    try {
        json = parseBounded(line);
    } catch (const std::exception&) {
        malformed("this is no line of JSON");
    }
    if (!json.is_object()) malformed("a line must be one object in braces");
    return json;
}

const Json* find(const Json& object, const char* key) {
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &*found;
}

double number(const Json& value, const char* name, double least, double most) {
    const double read = value.is_number() ? value.get<double>() : NAN;
    if (!(read >= least && read <= most))
        malformed(fmt::format("\"{}\" must be a number from {} to {}", name, least, most));
    return read;
}

double required(const Json& object, const char* key, double least, double most) {
    const Json* value = find(object, key);
    return number(value ? *value : Json(), key, least, most);
}

double optional(const Json& object, const char* key, double least, double most, double absent) {
    const Json* value = find(object, key);
    return value ? number(*value, key, least, most) : absent;
}

std::string text(const Json& value, const char* name) {
    if (!value.is_string()) malformed(fmt::format("\"{}\" must be a text", name));
    return value.get<std::string>();
}

const Json& list(const Json& value, const char* name, size_t most) {
    if (!value.is_array() || value.size() > most)
        malformed(fmt::format("\"{}\" must be a list of at most {}", name, most));
    return value;
}

ExpectedEvent expectedFrom(const Json& json) {
    const Json* name = json.is_object() ? find(json, "event") : nullptr;
    const std::string said = name && name->is_string() ? name->get<std::string>() : "";
    const auto known = std::find_if(events.begin(), events.end(),
                                    [&](GestureEvent event) { return said == nameOf(event); });
    if (known == events.end())
        malformed("each of \"expected\" needs an \"event\": pinch began, pinch ended, "
                  "two-hand began, two-hand ended or peace sign");
    constexpr int mostFrames = 1000;
    return {*known, required(json, "time", 0, PoseTrackLimits::seconds),
            static_cast<int>(required(json, "frames", 0, mostFrames))};
}

HandPose::Point pointFrom(const Json& json) {
    if (!json.is_array() || json.size() != 3) malformed("a landmark is null or [x, y, confidence]");
    constexpr double reach = PoseTrackLimits::place;
    return {static_cast<float>(number(json[0], "x", -reach, reach)),
            static_cast<float>(number(json[1], "y", -reach, reach)),
            static_cast<float>(number(json[2], "confidence", 0, 1))};
}

HandPose handFrom(const Json& json, double seconds, double detectionMs) {
    if (!json.is_object()) malformed("a hand must be an object in braces");
    HandPose pose;
    const Json* side = find(json, "chirality");
    const auto known =
        std::find_if(std::begin(chiralities), std::end(chiralities), [&](const auto& entry) {
            return side && side->is_string() && *side == entry.second;
        });
    if (known == std::end(chiralities))
        malformed("a hand's \"chirality\" is left, right or unknown");
    pose.chirality = known->first;
    pose.averageConfidence = static_cast<float>(required(json, "confidence", 0, 1));
    const Json* landmarks = find(json, "landmarks");
    if (!landmarks || !landmarks->is_array() || landmarks->size() != handLandmarkCount)
        malformed(fmt::format("a hand needs {} \"landmarks\"", handLandmarkCount));
    for (const HandLandmark landmark : allHandLandmarks) {
        const Json& point = (*landmarks)[static_cast<size_t>(landmark)];
        if (!point.is_null()) pose.landmarks.set(landmark, pointFrom(point));
    }
    pose.pts = MediaTime::fromNanos(std::llround(seconds * 1e9));
    pose.detectionDurationNanos = static_cast<uint64_t>(std::llround(detectionMs * 1e6));
    return pose;
}

template <typename... Arguments>
void put(fmt::memory_buffer& line, fmt::format_string<Arguments...> format,
         Arguments&&... arguments) {
    fmt::format_to(fmt::appender(line), format, std::forward<Arguments>(arguments)...);
}

double toNanosecond(double seconds) {
    return std::round(seconds * 1e9) / 1e9;
}

float confidence(float value) {
    return std::isfinite(value) ? std::clamp(value, 0.0f, 1.0f) : 0;
}

void append(fmt::memory_buffer& line, const HandPose& pose) {
    const auto side =
        std::find_if(std::begin(chiralities), std::end(chiralities),
                     [&](const auto& entry) { return entry.first == pose.chirality; });
    put(line, "{{\"chirality\":\"{}\",\"confidence\":{},\"landmarks\":[", side->second,
        confidence(pose.averageConfidence));
    for (const HandLandmark landmark : allHandLandmarks) {
        if (landmark != allHandLandmarks.front()) put(line, ",");
        if (const HandPose::Point* point = measurablePoint(pose, landmark))
            put(line, "[{},{},{}]", point->x, point->y, confidence(point->confidence));
        else
            put(line, "null");
    }
    put(line, "]}}");
}

} // namespace

PoseTrackHeader headerFrom(std::string_view line) {
    const auto isOurs = [](const Json& json) {
        const Json* mark = find(json, "lanternfly");
        return mark && *mark == "poses";
    };
    Json json;
    try {
        json = objectFrom(line);
    } catch (const Error&) {
    }
    if (!json.is_object() || !isOurs(json))
        throw Error(Error::Kind::notATrack, "this is no pose track: its first line must begin "
                                            "with {\"lanternfly\":\"poses\"");
    const Json* written = find(json, "version");
    if (!written || *written != version)
        throw Error(Error::Kind::otherVersion,
                    fmt::format("a pose track of version {}, and this program reads version {}; "
                                "use a newer lanternfly or record it again",
                                written && written->is_number_integer() ? written->dump() : "?",
                                version));
    PoseTrackHeader header;
    header.widthPX = static_cast<int>(required(json, "width", 1, PoseTrackLimits::sidePX));
    header.heightPX = static_cast<int>(required(json, "height", 1, PoseTrackLimits::sidePX));
    header.frameRate = required(json, "frameRate", 1, PoseTrackLimits::frameRate);
    if (const Json* about = find(json, "about")) header.about = text(*about, "about");
    if (const Json* expected = find(json, "expected")) {
        header.expected.emplace();
        for (const Json& entry : list(*expected, "expected", PoseTrackLimits::expected))
            header.expected->push_back(expectedFrom(entry));
    }
    return header;
}

PoseTrackFrame frameFrom(std::string_view line) {
    const Json json = objectFrom(line);
    PoseTrackFrame frame;
    frame.seconds = required(json, "time", 0, PoseTrackLimits::seconds);
    frame.detectionMs = optional(json, "detectionMs", 0, PoseTrackLimits::milliseconds, 0);
    frame.latencyMs = optional(json, "latencyMs", 0, PoseTrackLimits::milliseconds, 0);
    const Json* hands = find(json, "hands");
    frame.isLookedAt = hands != nullptr;
    if (hands)
        for (const Json& hand : list(*hands, "hands", PoseTrackLimits::hands))
            frame.poses.push_back(handFrom(hand, frame.seconds, frame.detectionMs));
    return frame;
}

void append(fmt::memory_buffer& line, const PoseTrackHeader& header) {
    put(line,
        "{{\"lanternfly\":\"poses\",\"version\":{},\"width\":{},\"height\":{},"
        "\"frameRate\":{}",
        version, header.widthPX, header.heightPX,
        std::clamp(header.frameRate, 1.0, PoseTrackLimits::frameRate));
    if (!header.about.empty())
        put(line, ",\"about\":{}",
            Json(header.about).dump(-1, ' ', false, Json::error_handler_t::replace));
    if (header.expected) {
        put(line, ",\"expected\":[");
        for (const ExpectedEvent& event : *header.expected)
            put(line, "{}{{\"event\":\"{}\",\"time\":{},\"frames\":{}}}",
                &event == header.expected->data() ? "" : ",", nameOf(event.event),
                toNanosecond(event.seconds), event.toleranceFrames);
        put(line, "]");
    }
    put(line, "}}\n");
}

void append(fmt::memory_buffer& line, const PoseTrackFrame& frame) {
    put(line, "{{\"time\":{}", toNanosecond(frame.seconds));
    if (frame.detectionMs > 0) put(line, ",\"detectionMs\":{}", frame.detectionMs);
    if (frame.latencyMs > 0) put(line, ",\"latencyMs\":{}", frame.latencyMs);
    if (frame.isLookedAt) {
        put(line, ",\"hands\":[");
        const size_t count = std::min(frame.poses.size(), PoseTrackLimits::hands);
        for (size_t i = 0; i < count; ++i) {
            if (i > 0) put(line, ",");
            append(line, frame.poses[i]);
        }
        put(line, "]");
    }
    put(line, "}}\n");
}

} // namespace PoseTrackLine
} // namespace lanternfly
