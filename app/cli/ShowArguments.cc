#include "app/cli/ShowArguments.h"

#include <charconv>
#include <map>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "app/cli/Options.h"
#include "render/FramePlan.h"

namespace lanternfly {
namespace {

constexpr int leastSidePX = 64;
constexpr int mostSidePX = 7680;

// "1920x1080"
std::optional<FrameSize> parseSize(const std::string& text) {
    FrameSize size{};
    const char* end = text.data() + text.size();
    const auto width = std::from_chars(text.data(), end, size.width);
    if (width.ec != std::errc{} || width.ptr == end || *width.ptr != 'x') return std::nullopt;
    const auto height = std::from_chars(width.ptr + 1, end, size.height);
    if (height.ec != std::errc{} || height.ptr != end) return std::nullopt;
    for (const int side : {size.width, size.height})
        if (side < leastSidePX || side > mostSidePX || side % 2 != 0) return std::nullopt;
    return size;
}

void takeSize(const std::string& text, ShowOptions& options) {
    const auto size = parseSize(text);
    if (!size)
        throw CLI::ValidationError(
            "--size", fmt::format("{} is no size: write WIDTHxHEIGHT with even sides from {} to "
                                  "{}, such as 1280x720",
                                  text, leastSidePX, mostSidePX));
    options.width = size->width;
    options.height = size->height;
}

} // namespace

void declareShow(CLI::App& command, ShowOptions& options) {
    declareOptions(
        command,
        {{"--page", &options.page, "", "First page that is shown, from 1"},
         {"--mirror", &options.isMirrored, "", "Mirror the camera picture"},
         {"--script", &options.script, "FILE",
          "Commands with their times, a line each, such as 2.5 next-page; lanternfly commands "
          "lists them"},
         {"--bindings", &options.bindings, "FILE",
          "What signs and keys do, instead of the user's own bindings"},
         {"--events", &options.events, "FILE",
          "Write what hands and commands do as lines of JSON (made anew when complete)"},
         {"--record-poses", &options.recordedPoses, "TRACK",
          "Write the hands as a pose track, frame by frame: it keeps what was written when the "
          "program is stopped"},
         {"--trace", &options.trace, "FILE",
          "Write a trace that Perfetto opens (made anew when complete)"},
         {"--faces", &options.looksForFaces, "",
          "Look for the presenter's face too, and write it into --events"},
         {"--hand-model", &options.handModel, "FOLDER",
          "Folder of other hand networks than the shipped ones"},
         {"--device", &options.device, "DEVICE",
          "What draws the frames: cpu, vulkan (the best device), or vulkan:NAME"}});
    command
        .add_option_function<std::string>(
            "--size", [&options](const std::string& text) { takeSize(text, options); },
            "Size of the output")
        ->type_name("WxH")
        ->default_str("1920x1080");
    static const std::map<std::string, FramingMode> framings{{"crop", FramingMode::crop},
                                                             {"bars", FramingMode::bars}};
    command
        .add_option("--framing", options.framing,
                    "A camera of another shape than the output: crop cuts its edges off, bars "
                    "shows all of it on black")
        ->transform(CLI::Transformer(framings).description(""))
        ->type_name("crop|bars")
        ->default_str("crop");
}

} // namespace lanternfly
