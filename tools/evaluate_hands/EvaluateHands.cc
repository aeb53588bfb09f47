// evaluate_hands VIDEO TRUTH [--models FOLDER] [--sheet FILE.png]
// Runs the hand detector over a clip whose hands are known and prints how well it did.
#include <cstdio>
#include <exception>
#include <optional>

#include <CLI/CLI.hpp>
#include <fmt/core.h>

#include "ContactSheet.h"
#include "platform/linux/vision/OpenCvHandPoseDetector.h"
#include "support/hands/HandEvaluation.h"

namespace lanternfly {
namespace {

struct Options {
    std::filesystem::path video, truth, models = defaultHandModelFolder(), sheet;
    int every = 0; // pictures; 0 spreads the sheet over the clip
    int first = 0;
};

void print(const HandScores& scores) {
    fmt::print("pictures                        {}\n", scores.pictures);
    fmt::print("true hands                      {}\n", scores.trueHands);
    fmt::print("recall                          {:.4f}\n", scores.recall());
    fmt::print("precision                       {:.4f}\n", scores.precision());
    fmt::print("chirality                       {:.4f}\n", scores.chirality());
    fmt::print("joints within 0.1               {:.4f}\n", scores.closeJointShare());
    fmt::print("mean error, px of the clip      {:+.2f} {:+.2f}\n", scores.meanErrorPX.x,
               scores.meanErrorPX.y);
    fmt::print("pinched at 0.30, agreement      {:.4f}\n", scores.pinchAgreement());
    fmt::print("  both tips sure (0.4)          {} of {}, agreement {:.4f}\n", scores.sureTips,
               scores.comparedPinches,
               scores.sureTips ? scores.sureAgreedPinches / double(scores.sureTips) : 0.0);
    for (size_t count = 0; count < scores.millisecondsByHands.size(); ++count)
        fmt::print("ms a picture, {} hands           {:.2f} (median of {})\n", count,
                   median(scores.millisecondsByHands[count]),
                   scores.millisecondsByHands[count].size());
}

int evaluate(const Options& options) {
    OpenCvHandPoseDetector detector(options.models);
    const HandTruth truth = readHandTruth(options.truth);
    constexpr int columns = 5, rows = 6, widthPX = 320;
    const int every =
        options.every > 0 ? options.every : std::max<int>(1, int(truth.size()) / (columns * rows));
    ContactSheet sheet(columns, rows, widthPX);
    const auto look = [&](const EvaluatedPicture& seen) {
        if (seen.number >= options.first && (seen.number - options.first) % every == 0)
            sheet.add(seen);
    };
    print(evaluateHands(detector, options.video, truth, look));
    if (!options.sheet.empty() && !sheet.write(options.sheet)) {
        fmt::print(stderr, "cannot write {}\n", options.sheet.string());
        return 1;
    }
    return 0;
}

} // namespace
} // namespace lanternfly

int main(int argc, char** argv) {
    lanternfly::Options options;
    CLI::App program{"How well the hand detector does on a clip whose hands are known"};
    program.add_option("video", options.video)->required()->check(CLI::ExistingFile);
    program
        .add_option("truth", options.truth, "truth of a rendered clip (.jsonl) or labels (.json)")
        ->required()
        ->check(CLI::ExistingFile);
    program.add_option("--models", options.models, "folder of the networks");
    program.add_option("--sheet", options.sheet, "write a contact sheet (PNG)");
    program.add_option("--every", options.every, "pictures from one of the sheet to the next");
    program.add_option("--first", options.first, "first picture of the sheet");
    CLI11_PARSE(program, argc, argv);
    try {
        return lanternfly::evaluate(options);
    } catch (const std::exception& error) {
        fmt::print(stderr, "{}\n", error.what());
        return 1;
    }
}
