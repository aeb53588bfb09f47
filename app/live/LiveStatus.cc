#include "app/live/LiveStatus.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace lanternfly {
namespace {

const char* nameOf(CameraStatus::State state) {
    switch (state) {
    case CameraStatus::State::starting:
        return "starting";
    case CameraStatus::State::sending:
        return "sending";
    case CameraStatus::State::silent:
        return "silent";
    case CameraStatus::State::gone:
        return "gone";
    case CameraStatus::State::none:
        return "none";
    }
    return "none";
}

std::string cameraText(const CameraStatus& camera) {
    switch (camera.state) {
    case CameraStatus::State::starting:
        return "camera starting";
    case CameraStatus::State::sending:
        return camera.name;
    case CameraStatus::State::silent:
        return camera.name + " sends nothing";
    case CameraStatus::State::gone:
        return "camera gone: " + camera.name;
    case CameraStatus::State::none:
        return "no camera";
    }
    return {};
}

using Json = nlohmann::ordered_json;

Json jsonOf(const StageSummary& summary) {
    return {{"count", summary.frames}, {"median", summary.medianMs}, {"p95", summary.p95Ms}};
}

Json jsonOf(const std::optional<double>& value) {
    return value ? Json(*value) : Json(nullptr);
}

} // namespace

std::string statusLine(const LiveStatus& status) {
    const auto& figures = status.figures;
    std::string line =
        fmt::format("{} | {:.1f} fps", cameraText(status.camera), figures.framesPerSecond);
    const auto add = [&](std::string part) { line.append(" | ").append(part); };
    if (figures.frame.frames > 0)
        add(fmt::format("frame {:.0f} ms (95%: {:.0f})", figures.frame.medianMs,
                        figures.frame.p95Ms));
    if (figures.target.frames > 0) add(fmt::format("hand {:.0f} ms", figures.target.medianMs));
    add(fmt::format("{} lost", figures.lostFrames));
    if (status.hands.detectionMs)
        add(fmt::format("hands {:.0f} ms, {:.1f} passed by a second", *status.hands.detectionMs,
                        status.hands.dropsPerSecond));
    if (status.mode != HostMode::slide) add(std::string(lanternfly::nameOf(status.mode)));
    if (status.pageCount > 0) add(fmt::format("page {} of {}", status.page, status.pageCount));
    for (const auto& [name, output] : status.outputs)
        add(fmt::format("{} {}", name, lanternfly::nameOf(output.state)));
    return line;
}

std::string statusJson(const LiveStatus& status) {
    const auto& figures = status.figures;
    Json outputs = Json::array();
    for (const auto& [name, output] : status.outputs)
        outputs.push_back({{"name", name},
                           {"state", lanternfly::nameOf(output.state)},
                           {"problem", output.problem},
                           {"sentFrames", output.sentFrames},
                           {"droppedFrames", output.droppedFrames}});
    const Json all{{"camera",
                    {{"state", nameOf(status.camera.state)},
                     {"name", status.camera.name},
                     {"problem", status.camera.problem}}},
                   {"mode", lanternfly::nameOf(status.mode)},
                   {"page", status.page},
                   {"pageCount", status.pageCount},
                   {"framesPerSecond", figures.framesPerSecond},
                   {"frames", figures.frames},
                   {"lostFrames", figures.lostFrames},
                   {"standIns", figures.standIns},
                   {"frameMs", jsonOf(figures.frame)},
                   {"targetMs", jsonOf(figures.target)},
                   {"firstFrameMs", jsonOf(figures.firstFrameMs)},
                   {"hands",
                    {{"detectionMs", jsonOf(status.hands.detectionMs)},
                     {"intervalMs", jsonOf(status.hands.poseIntervalMs)},
                     {"passedByASecond", status.hands.dropsPerSecond}}},
                   {"outputs", outputs}};
    // Names come from devices and may not be UTF-8.
    return all.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace lanternfly
