#include "app/evaluate/HandData.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>

#include <fmt/format.h>

#include "app/CommandError.h"

namespace lanternfly {
namespace {

namespace fs = std::filesystem;

constexpr std::array videoSuffixes{".mp4", ".mkv", ".mov", ".webm"};
constexpr std::array labelSuffixes{".json", ".jsonl", "_truth.jsonl"};

std::optional<fs::path> labelsOf(const fs::path& video) {
    for (const char* suffix : labelSuffixes) {
        const fs::path labels = video.parent_path() / (video.stem().string() + suffix);
        std::error_code ignored;
        if (fs::is_regular_file(labels, ignored)) return labels;
    }
    return std::nullopt;
}

} // namespace

HandData HandData::in(const fs::path& folder) {
    std::error_code error;
    std::vector<fs::path> files;
    for (fs::recursive_directory_iterator at(folder, error), end; !error && at != end;
         at.increment(error))
        if (at->is_regular_file()) files.push_back(at->path());
    if (error)
        throw CommandError(fmt::format("cannot read {}: {}", folder.string(), error.message()));
    std::sort(files.begin(), files.end());

    HandData data;
    for (const fs::path& file : files) {
        if (file.filename() == "labels.json") data.photoLabels.push_back(file);
        if (std::find(videoSuffixes.begin(), videoSuffixes.end(), file.extension()) ==
            videoSuffixes.end())
            continue;
        if (const auto labels = labelsOf(file)) data.clips.push_back({file, *labels});
    }
    if (data.photoLabels.empty() && data.clips.empty())
        throw CommandError(fmt::format(
            "{} holds no labelled hands: expected photos with a labels.json beside them, or clips "
            "with NAME.json, NAME.jsonl or NAME_truth.jsonl beside NAME.mp4",
            folder.string()));
    return data;
}

} // namespace lanternfly
