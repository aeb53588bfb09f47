// Runs the hand and face detectors over labelled photos and clips, and other detectors' answers
// beside them.
// Threads: bound.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "app/evaluate/HandData.h"
#include "app/evaluate/HandSequence.h"
#include "base/PixelBuffer.h"

namespace lanternfly {

struct SourceResult {
    std::string source; // whose photos, or the clip's name
    HandScores scores;
    // Clips only.
    StillJitter jitter;
    PinchCounts pinches;
    // Processor time a picture, while hands are followed; not known of answers from a file.
    std::vector<double> milliseconds;
};

// One picture as it was answered, for those who want to look.
struct EvaluatedPicture {
    std::string name;
    const PixelBuffer& picture; // long side 480
    const FoundPicture& found;
    const LabelledPicture& labelled;
    double scale; // from label pixels to pixels of `picture`
    HandScores scores;
};

class HandEvaluation {
public:
    struct Setup {
        std::filesystem::path folder; // of the labelled data
        std::filesystem::path modelFolder;
        // Answers of another detector to the same pictures: files of the labels' names and format,
        // at the same places below this folder. Empty: none.
        std::filesystem::path peerFolder{};
        std::function<void(int64_t done, int64_t total)> onProgress{};
        std::function<void(const EvaluatedPicture&)> onPicture{};
        std::function<bool()> isInterrupted{};
    };
    struct Result {
        std::vector<SourceResult> own, peer;
        bool isInterrupted = false;
    };

    // Photos are shown as stills of this many pictures, since a hand counts once it was seen again.
    static constexpr int picturesOfAStill = 3;
    // In clips faces are looked for in every sixth picture, as the face feed does.
    static constexpr int faceStride = 6;

    explicit HandEvaluation(Setup setup) : _setup(std::move(setup)) {}
    // Throws CommandError, VideoError or HandPoseError.
    Result run();

private:
    const Setup _setup;
};

} // namespace lanternfly
