#include "app/sinks/OutputChoice.h"

#include <algorithm>
#include <string_view>

#include <fmt/format.h>

#include "app/CommandError.h"

namespace lanternfly {
namespace {

bool isRecording(const std::filesystem::path& file) {
    return file.extension() == ".mkv" || file.extension() == ".mp4";
}

OutputChoice parseOutput(std::string_view text) {
    if (text == "pipewire") return PipeWireOutput{};
    if (text == "v4l2") return LoopbackOutput{};
    constexpr std::string_view node = "v4l2:", file = "file:";
    if (text.starts_with(node) && text.size() > node.size())
        return LoopbackOutput{text.substr(node.size())};
    const std::filesystem::path path = text.starts_with(file) ? text.substr(file.size()) : text;
    if (isRecording(path)) return FileOutput{path};
    if (text.starts_with(file))
        throw CommandError(fmt::format("cannot record into \"{}\": a recording is an .mkv or an "
                                       ".mp4 file",
                                       path.string()));
    throw CommandError(fmt::format("\"{}\" is no output; there are {}", text, outputForms));
}

} // namespace

std::vector<OutputChoice> parseOutputs(const std::vector<std::string>& texts) {
    std::vector<OutputChoice> choices;
    if (texts == std::vector<std::string>{"none"}) return choices;
    for (std::string_view rest : texts)
        while (true) {
            const size_t comma = rest.find(',');
            const std::string_view one = rest.substr(0, comma);
            const OutputChoice choice = parseOutput(one);
            if (std::ranges::find(choices, choice) != choices.end())
                throw CommandError(fmt::format("the output \"{}\" is there twice", one));
            choices.push_back(choice);
            if (comma == std::string_view::npos) break;
            rest.remove_prefix(comma + 1);
        }
    return choices;
}

} // namespace lanternfly
