#include "app/inspect/InspectReport.h"

#include <algorithm>
#include <cmath>
#include <map>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "app/inspect/ReportTemplate.h"

namespace lanternfly {
namespace {

using Json = nlohmann::ordered_json;
using Chirality = HandPose::Chirality;

constexpr std::pair<Chirality, const char*> sides[] = {
    {Chirality::right, "right"}, {Chirality::left, "left"}, {Chirality::unknown, "unknown"}};

// Four decimals are more than a plot shows.
Json number(double value) {
    return std::isfinite(value) ? Json(std::round(value * 1e4) / 1e4) : Json();
}
template <typename Number>
Json number(const std::optional<Number>& value) {
    return value ? number(static_cast<double>(*value)) : Json();
}

template <typename Value>
Json column(const GestureTimeline& timeline, Value&& value) {
    Json column = Json::array();
    for (const TimelineFrame& frame : timeline.frames)
        column.push_back(value(frame));
    return column;
}

Json knownColumn(const GestureTimeline& timeline, double TimelineFrame::*milliseconds) {
    return column(timeline, [&](const TimelineFrame& frame) {
        return frame.*milliseconds > 0 ? number(frame.*milliseconds) : Json();
    });
}

// The columns of the hands that were told as of this side; null when it never was.
Json handColumns(const GestureTimeline& timeline, Chirality chirality) {
    bool isSeen = false;
    Json hand{{"ratio", Json::array()},
              {"size", Json::array()},
              {"thumb", Json::array()},
              {"index", Json::array()}};
    for (const TimelineFrame& frame : timeline.frames) {
        const auto found =
            std::find_if(frame.hands.begin(), frame.hands.end(), [&](const HandReading& reading) {
                return reading.chirality == chirality;
            });
        const bool isHere = found != frame.hands.end();
        isSeen |= isHere;
        hand["ratio"].push_back(isHere ? number(found->ratio) : Json());
        hand["size"].push_back(isHere ? number(found->size) : Json());
        hand["thumb"].push_back(isHere ? number(found->thumbConfidence) : Json());
        hand["index"].push_back(isHere ? number(found->indexConfidence) : Json());
    }
    return isSeen ? hand : Json();
}

Json dataOf(const std::string& name, const GestureTimeline& timeline,
            std::span<const Remark> remarks) {
    Json hands = Json::object();
    for (const auto& [chirality, side] : sides)
        if (Json columns = handColumns(timeline, chirality); !columns.is_null())
            hands[side] = std::move(columns);
    Json data{
        {"name", name},
        {"about", timeline.header.about},
        {"summary", inspectSummary(timeline)},
        {"rate", timeline.header.frameRate},
        {"limits",
         {{"enter", number(timeline.pinch.pinchEnterRatio)},
          {"exit", number(timeline.pinch.pinchExitRatio)},
          {"pairEnter", number(timeline.twoHands.pinchEnterRatio)},
          {"thumbFloor", number(timeline.pinch.confidenceFloors.thumbTip)}}},
        {"time", column(timeline, [](const auto& frame) { return number(frame.seconds); })},
        {"looked", column(timeline, [](const auto& frame) { return frame.isLookedAt ? 1 : 0; })},
        {"hands", std::move(hands)},
        {"smoothed", column(timeline, [](const auto& f) { return number(f.smoothedRatio); })},
        {"phase", column(timeline, [](const auto& f) { return static_cast<int>(f.phase); })},
        {"pair", column(timeline, [](const auto& frame) { return frame.isTwoHandPinch ? 1 : 0; })},
        {"targetX", column(timeline, [](const auto& frame) { return number(frame.target.x); })},
        {"targetY", column(timeline, [](const auto& frame) { return number(frame.target.y); })},
        {"x", column(timeline, [](const auto& frame) { return number(frame.position.x); })},
        {"y", column(timeline, [](const auto& frame) { return number(frame.position.y); })},
        {"scale", column(timeline, [](const auto& frame) { return number(frame.scale); })},
        {"detection", knownColumn(timeline, &TimelineFrame::detectionMs)},
        {"latency", knownColumn(timeline, &TimelineFrame::latencyMs)},
        {"events", Json::array()},
        {"remarks", Json::array()}};
    for (const TimelineEvent& event : timeline.events)
        data["events"].push_back({{"time", number(event.seconds)}, {"name", nameOf(event.event)}});
    for (const Remark& remark : remarks)
        data["remarks"].push_back({{"from", number(remark.startSeconds)},
                                   {"to", number(remark.endSeconds)},
                                   {"text", remark.text}});
    if (const auto& expected = timeline.header.expected) {
        const auto score = scoreEvents(*expected, timeline.events, timeline.header.frameRate);
        data["verdict"] = inspectVerdict(timeline);
        data["faults"] = score.faults;
        data["expected"] = Json::array();
        for (const ExpectedEvent& event : *expected)
            data["expected"].push_back({{"name", nameOf(event.event)},
                                        {"time", number(event.seconds)},
                                        {"frames", event.toleranceFrames}});
    }
    return data;
}

} // namespace

std::string inspectSummary(const GestureTimeline& timeline) {
    std::map<GestureEvent, int> counts;
    for (const TimelineEvent& event : timeline.events)
        ++counts[event.event];
    const auto counted = [](int count, const char* one, const char* many) {
        return fmt::format("{} {}", count, count == 1 ? one : many);
    };
    const auto unseen = std::count_if(timeline.frames.begin(), timeline.frames.end(),
                                      [](const TimelineFrame& frame) { return !frame.isLookedAt; });
    const double seconds = timeline.frames.empty()
                               ? 0
                               : timeline.frames.back().seconds - timeline.frames.front().seconds;
    return fmt::format(
        "{}, {} and {} in {:.1f} s, {} frames{}",
        counted(counts[GestureEvent::pinchBegan], "pinch", "pinches"),
        counted(counts[GestureEvent::twoHandBegan], "pinch of both hands", "pinches of both hands"),
        counted(counts[GestureEvent::peaceSign], "peace sign", "peace signs"), seconds,
        timeline.frames.size(),
        unseen > 0 ? fmt::format("; {} of them were not looked at", unseen) : "");
}

std::string inspectVerdict(const GestureTimeline& timeline) {
    const auto& expected = timeline.header.expected;
    if (!expected) return {};
    const auto score = scoreEvents(*expected, timeline.events, timeline.header.frameRate);
    std::string verdict =
        fmt::format("{} of {} expected events came in time", score.found, expected->size());
    if (!score.isRight())
        verdict += fmt::format(", {} too late or too early, {} never, {} came unasked", score.late,
                               score.missed, score.unasked);
    if (!score.lagFrames.empty())
        verdict += fmt::format("; lag {:.1f} frames (median), {:.1f} (worst)", *score.medianLag(),
                               *score.worstLag());
    return verdict;
}

std::string inspectReport(const std::string& name, const GestureTimeline& timeline,
                          std::span<const Remark> remarks) {
    constexpr std::string_view place = "%DATA%";
    std::string page(reportTemplate());
    std::string data =
        dataOf(name, timeline, remarks).dump(-1, ' ', false, Json::error_handler_t::replace);
    // No text may end the script that holds it.
    for (size_t at = 0; (at = data.find('<', at)) != std::string::npos;)
        data.replace(at, 1, "\\u003c");
    page.replace(page.find(place), place.size(), data);
    return page;
}

} // namespace lanternfly
