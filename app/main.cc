// The program `lanternfly`. Exit codes: 0 done, 1 could not be done, 2 wrongly asked, 128 + n ended
// early by signal n.
#include <cstdio>
#include <exception>
#include <functional>
#include <map>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "app/cli/CamerasCommand.h"
#include "app/cli/CommandsCommand.h"
#include "app/cli/ContactSheetCommand.h"
#include "app/cli/DoctorCommand.h"
#include "app/cli/EvaluateHandsCommand.h"
#include "app/cli/InspectCommand.h"
#include "app/cli/PresentCommand.h"
#include "app/cli/RenderCommand.h"
#include "app/cli/SendCommand.h"
#include "app/ui/QtShowWindow.h"
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

    // Each command declares its options and is run with them.
    std::map<const CLI::App*, std::function<int()>> runs;
    const auto offer = [&](const char* name, const char* summary, auto& options, auto declare,
                           auto run) {
        CLI::App* command = app.add_subcommand(name, summary);
        declare(*command, options);
        runs[command] = [&options, run] { return run(options); };
    };
    using namespace lanternfly;
    PresentOptions present;
    offer("present", "Show a deck in the picture of a live camera", present, declarePresent,
          [](const PresentOptions& options) { return runPresent(options, makeQtShowWindow); });
    SendOptions send;
    offer("send", "Tell a running show what to do", send, declareSend, runSend);
    RenderOptions render;
    offer("render", "Compose a recorded presenter and a PDF deck into a video", render,
          declareRender, runRender);
    ContactSheetOptions sheet;
    offer("contact-sheet", "Show a video as one sheet of small pictures", sheet,
          declareContactSheet, runContactSheet);
    CommandsOptions commands;
    offer("commands", "List what the program can be told, and the signs and keys that tell it",
          commands, declareCommands, runCommands);
    CamerasOptions cameras;
    offer("cameras", "List the cameras of this computer", cameras, declareCameras, runCameras);
    DoctorOptions doctor;
    offer("doctor", "Examine this computer, and say what to do for each problem", doctor,
          declareDoctor, runDoctor);
    InspectOptions inspect;
    offer("inspect", "Show what the recognizers make of hands, and why a pinch was missed", inspect,
          declareInspect, runInspect);
    EvaluateHandsOptions evaluation;
    offer("evaluate-hands", "Measure how well hands and faces are found in labelled pictures",
          evaluation, declareEvaluateHands, runEvaluateHands);

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
    Logger::setMinimumLevel(isVerbose ? LogLevel::debug : LogLevel::error);
    return runs.at(app.get_subcommands().front())();
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
