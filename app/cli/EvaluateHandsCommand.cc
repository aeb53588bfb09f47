#include "app/cli/EvaluateHandsCommand.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "app/CommandError.h"
#include "app/Interrupt.h"
#include "app/cli/Progress.h"
#include "app/evaluate/EvaluationReport.h"
#include "app/evaluate/WorstPictures.h"
#include "platform/linux/video/OutputFile.h"
#include "platform/linux/vision/HandModel.h"
#include "platform/linux/vision/HandModelFolder.h"

namespace lanternfly {
namespace {

EvaluatedModel modelIn(const std::filesystem::path& folder) {
    const HandModel model = HandModel::read(folder);
    EvaluatedModel evaluated{.name = model.name};
    std::error_code error;
    for (const NetworkDescription* network : {&model.detector, &model.landmarks})
        if (const auto bytes = std::filesystem::file_size(network->file, error); !error)
            evaluated.megabytes += static_cast<double>(bytes) / 1e6;
    return evaluated;
}

void writeSheet(const WorstPictures& worst, OutputFile& file, const std::filesystem::path& target) {
    if (!worst.write(file.workPath()))
        throw CommandError(
            fmt::format("cannot write {}: make room on its disk and run again", target.string()));
    file.commit();
}

} // namespace

void declareEvaluateHands(CLI::App& command, EvaluateHandsOptions& options) {
    command
        .add_option("folder", options.folder,
                    "Labelled photos and clips, also in subfolders: photos with a labels.json "
                    "beside them, {\"images\": {NAME: {\"source\", \"hands\": [{\"landmarks\": "
                    "21 x [x, y, confidence] in pixels, \"right\": 0 to 1}], \"faces\": [[x, y, "
                    "width, height, score]]}}}; clips NAME.mp4 with NAME.json, {\"frames\": [[the "
                    "same hands], ...]}, or with truth, NAME_truth.jsonl, a line a picture")
        ->required()
        ->type_name("FOLDER");
    command.add_option("--hand-model", options.handModel, "Other networks than the shipped ones")
        ->type_name("FOLDER");
    command
        .add_option("--peer", options.peer,
                    "Answers of another detector, measured beside ours: files of the labels' "
                    "names and format at the same places below this folder")
        ->type_name("FOLDER");
    command.add_option("--sheet", options.sheet, "Draw the worst pictures on one sheet")
        ->type_name("PNG");
    command.add_flag("--json", options.isJson, "Print JSON instead of tables");
}

int runEvaluateHands(const EvaluateHandsOptions& options) {
    Interrupt::install();
    const auto models = options.handModel.value_or(defaultHandModelFolder());
    const EvaluatedModel model = modelIn(models);
    // Opened first: a place that cannot be written to shows before minutes of work.
    std::optional<OutputFile> sheet;
    if (options.sheet) sheet.emplace(*options.sheet, OutputFile::WhenAbandoned::remove);
    WorstPictures worst;
    std::optional<Progress> progress;
    HandEvaluation evaluation(
        {.folder = options.folder,
         .modelFolder = models,
         .peerFolder = options.peer.value_or(std::filesystem::path{}),
         .onProgress =
             [&](int64_t done, int64_t total) {
                 if (!progress) progress.emplace(total);
                 progress->update(done);
             },
         .onPicture = [&](const EvaluatedPicture& picture) { worst.offer(picture); },
         .isInterrupted = [] { return Interrupt::requested() != 0; }});
    const auto result = evaluation.run();
    if (progress) progress->clear();
    if (sheet) writeSheet(worst, *sheet, *options.sheet);
    fmt::print("{}", options.isJson ? reportJson(model, result) : reportText(model, result));
    if (!result.isInterrupted) return 0;
    fmt::print(stderr, "lanternfly: ended early, these are the pictures until then\n");
    return 128 + Interrupt::requested();
}

} // namespace lanternfly
