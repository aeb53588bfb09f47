// Which labelled photos and clips a folder holds.
// Threads: safe.
#pragma once

#include <filesystem>
#include <vector>

namespace lanternfly {

struct LabelledClip {
    std::filesystem::path video, labels;
};

struct HandData {
    std::vector<std::filesystem::path> photoLabels; // labels.json files; their photos lie beside
    std::vector<LabelledClip> clips;

    // Everything in the folder and its subfolders, in the order of their names. A clip NAME.mp4
    // (.mkv, .mov, .webm) has its labels in NAME.json, NAME.jsonl or NAME_truth.jsonl. Throws
    // CommandError when the folder cannot be read or holds nothing.
    static HandData in(const std::filesystem::path& folder);
};

} // namespace lanternfly
