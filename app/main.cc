// The program `lanternfly`. Exit codes: 0 done, 1 could not be done, 2 wrongly asked, 128 + n ended
// early by signal n.
#include <cstdio>
#include <exception>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "app/cli/CamerasCommand.h"
#include "app/cli/CommandsCommand.h"
#include "app/cli/ContactSheetCommand.h"
#include "app/cli/EvaluateHandsCommand.h"
#include "app/cli/InspectCommand.h"
#include "app/cli/RenderCommand.h"
#include "base/Logger.h"

namespace {

constexpr int exitFailed = 1;
constexpr int exitUsage = 2;

int runCommand(int argc, char** argv) {
    CLI::App app("Puts slides into the camera picture, moved by bare hands", "lanternfly");
    app.set_version_flag("--version", "lanternfly " LANTERNFLY_VERSION);
    app.require_subcommand(1);
    bool isVerbose = false;
    app.add_flag("--verbose", isVerbose, "Tell on standard error what goes on inside");

    lanternfly::RenderOptions render;
    auto* renderCommand =
        app.add_subcommand("render", "Compose a recorded presenter and a PDF deck into a video");
    lanternfly::declareRender(*renderCommand, render);
    lanternfly::ContactSheetOptions sheet;
    auto* sheetCommand =
        app.add_subcommand("contact-sheet", "Show a video as one sheet of small pictures");
    lanternfly::declareContactSheet(*sheetCommand, sheet);
    lanternfly::CommandsOptions commands;
    auto* commandsCommand = app.add_subcommand(
        "commands", "List what the program can be told, and the signs and keys that tell it");
    lanternfly::declareCommands(*commandsCommand, commands);
    lanternfly::CamerasOptions cameras;
    auto* camerasCommand = app.add_subcommand("cameras", "List the cameras of this computer");
    lanternfly::declareCameras(*camerasCommand, cameras);
    lanternfly::InspectOptions inspect;
    auto* inspectCommand = app.add_subcommand(
        "inspect", "Show what the recognizers make of hands, and why a pinch was missed");
    lanternfly::declareInspect(*inspectCommand, inspect);
    lanternfly::EvaluateHandsOptions evaluation;
    auto* evaluateCommand = app.add_subcommand(
        "evaluate-hands", "Measure how well hands and faces are found in labelled pictures");
    lanternfly::declareEvaluateHands(*evaluateCommand, evaluation);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success))
            return app.exit(error);
        const auto parsed = app.get_subcommands();
        fmt::print(stderr, "lanternfly: {}; see lanternfly{} --help\n", error.what(),
                   parsed.empty() ? "" : " " + parsed.front()->get_name());
        return exitUsage;
    }
    lanternfly::Logger::setMinimumLevel(isVerbose ? lanternfly::LogLevel::debug
                                                  : lanternfly::LogLevel::error);
    if (renderCommand->parsed()) return lanternfly::runRender(render);
    if (inspectCommand->parsed()) return lanternfly::runInspect(inspect);
    if (sheetCommand->parsed()) return lanternfly::runContactSheet(sheet);
    if (camerasCommand->parsed()) return lanternfly::runCameras(cameras);
    if (evaluateCommand->parsed()) return lanternfly::runEvaluateHands(evaluation);
    return lanternfly::runCommands(commands);
}

} // namespace

int main(int argc, char** argv) {
    try {
        return runCommand(argc, argv);
    } catch (const std::exception& error) {
        fmt::print(stderr, "lanternfly: {}\n", error.what());
        return exitFailed;
    }
}
