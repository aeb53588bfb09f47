// The program `lanternfly`. Exit codes: 0 done, 1 could not be done, 2 wrongly asked, 128 + n ended
// early by signal n.
#include <cstdio>
#include <exception>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "app/cli/ContactSheetCommand.h"
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
        app.add_subcommand("render", "Compose a recorded presenter and a PDF page into a video");
    lanternfly::declareRender(*renderCommand, render);
    lanternfly::ContactSheetOptions sheet;
    auto* sheetCommand =
        app.add_subcommand("contact-sheet", "Show a video as one sheet of small pictures");
    lanternfly::declareContactSheet(*sheetCommand, sheet);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success))
            return app.exit(error);
        fmt::print(stderr, "lanternfly: {}; see lanternfly{} --help\n", error.what(),
                   renderCommand->parsed()  ? " render"
                   : sheetCommand->parsed() ? " contact-sheet"
                                            : "");
        return exitUsage;
    }
    lanternfly::Logger::setMinimumLevel(isVerbose ? lanternfly::LogLevel::debug
                                                  : lanternfly::LogLevel::error);
    return renderCommand->parsed() ? lanternfly::runRender(render)
                                   : lanternfly::runContactSheet(sheet);
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
