#include "app/cli/CamerasCommand.h"

#include <algorithm>
#include <array>
#include <map>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "app/CommandError.h"
#include "app/live/CameraSource.h"
#include "capture/CameraChoice.h"
#include "capture/CameraFeed.h"

namespace lanternfly {
namespace {

using Formats = std::vector<CameraFormat>;

double fastestRate(const CameraFormat& format) {
    double fastest = 0;
    for (const CameraRateRange& range : format.rateRanges)
        fastest = std::max(fastest, range.maximum);
    return fastest;
}

// The format that would be taken, and how many there are.
std::string summaryOf(const Formats& formats) {
    const auto best = chooseFormat(formats);
    if (!best) return "none";
    const CameraFormat& format = formats[*best];
    std::string text = fmt::format("{}x{}", format.width, format.height);
    if (const double rate = fastestRate(format); rate > 0) text += fmt::format("@{:.3g}", rate);
    text += " " + format.encoding;
    return formats.size() == 1 ? text : fmt::format("{} and {} more", text, formats.size() - 1);
}

void printTable(const std::vector<CameraDeviceInfo>& infos,
                const std::map<std::string, Formats>& formats) {
    using Row = std::array<std::string, 5>;
    std::vector<Row> rows{{"NAME", "ID", "KIND", "TRANSPORT", "FORMATS"}};
    for (const CameraDeviceInfo& info : infos)
        rows.push_back({info.name, info.id, nameOf(info.kind), nameOf(info.transport),
                        summaryOf(formats.at(info.id))});
    std::array<size_t, 4> widths{};
    for (const Row& row : rows)
        for (size_t i = 0; i < widths.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    for (const Row& row : rows)
        fmt::print("{:{}}  {:{}}  {:{}}  {:{}}  {}\n", row[0], widths[0], row[1], widths[1], row[2],
                   widths[2], row[3], widths[3], row[4]);
}

nlohmann::json jsonOf(const CameraFormat& format) {
    auto rates = nlohmann::json::array();
    for (const CameraRateRange& range : format.rateRanges)
        rates.push_back({{"minimum", range.minimum}, {"maximum", range.maximum}});
    return {{"width", format.width},
            {"height", format.height},
            {"encoding", format.encoding},
            {"framesPerSecond", rates}};
}

void printJson(const std::vector<CameraDeviceInfo>& infos,
               const std::map<std::string, Formats>& formats) {
    auto list = nlohmann::json::array();
    for (const CameraDeviceInfo& info : infos) {
        auto all = nlohmann::json::array();
        for (const CameraFormat& format : formats.at(info.id))
            all.push_back(jsonOf(format));
        list.push_back({{"id", info.id},
                        {"name", info.name},
                        {"kind", nameOf(info.kind)},
                        {"transport", nameOf(info.transport)},
                        {"formats", all}});
    }
    // Names come from devices and may not be UTF-8.
    fmt::print("{}\n", list.dump(2, ' ', false, nlohmann::json::error_handler_t::replace));
}

} // namespace

void declareCameras(CLI::App& command, CamerasOptions& options) {
    command.add_flag("--json", options.isJson, "Print everything known, as JSON");
}

int runCameras(const CamerasOptions& options) {
    const auto cameras = machineCameras();
    if (cameras->authorization() == CameraAuthorization::denied)
        throw CommandError(cameraPermissionHelp);

    const auto infos = CameraFeed::discover(*cameras);
    std::map<std::string, Formats> formats;
    for (const CameraDeviceInfo& info : infos)
        formats[info.id];
    for (const CameraDeviceRef& device : cameras->devices(cameraTypesByPriority))
        formats[device->uniqueID()] = device->formats();
    if (options.isJson)
        printJson(infos, formats);
    else if (infos.empty())
        fmt::print("{}\n", noCameraHelp);
    else
        printTable(infos, formats);
    return 0;
}

} // namespace lanternfly
