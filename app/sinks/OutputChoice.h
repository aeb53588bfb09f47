// Where the user wants the picture to go: `--output pipewire,v4l2:/dev/video9,file:talk.mkv`.
// Threads: value.
#pragma once

#include <filesystem>
#include <string>
#include <variant>
#include <vector>

namespace lanternfly {

struct PipeWireOutput {
    friend bool operator==(const PipeWireOutput&, const PipeWireOutput&) = default;
};
struct LoopbackOutput {
    std::filesystem::path node; // empty: whichever there is
    friend bool operator==(const LoopbackOutput&, const LoopbackOutput&) = default;
};
struct FileOutput {
    std::filesystem::path file;
    friend bool operator==(const FileOutput&, const FileOutput&) = default;
};
using OutputChoice = std::variant<PipeWireOutput, LoopbackOutput, FileOutput>;

// How each of them is written, for --help.
inline constexpr const char* outputForms =
    "pipewire, v4l2, v4l2:/dev/videoN, file:NAME.mkv|mp4, none";

// Each text holds one or more of them, with commas between; "none" stands alone. Throws
// CommandError for one that is unknown, or is there twice.
std::vector<OutputChoice> parseOutputs(const std::vector<std::string>& texts);

} // namespace lanternfly
