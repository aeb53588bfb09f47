#include "app/cli/SendCommand.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "app/CommandError.h"
#include "app/cli/Options.h"
#include "app/commands/CommandTable.h"
#include "app/control/ControlSocket.h"

namespace lanternfly {
namespace {

void list() {
    const auto print = [](std::string_view name, std::string_view argument,
                          std::string_view summary) {
        fmt::print("{:<32}{}\n", fmt::format("{}{}{}", name, argument.empty() ? "" : " ", argument),
                   summary);
    };
    for (const CommandRow& row : commandTable())
        print(row.name, row.argument, row.summary);
    for (const ControlRequest& request : controlRequests)
        print(request.name, request.argument, request.summary);
}

} // namespace

void declareSend(CLI::App& command, SendOptions& options) {
    declareOptions(command, {{"--list", &options.lists, "", "List what can be sent"}});
    command.add_option("command", options.words, "A command and what it takes, such as next-page")
        ->type_name("COMMAND");
    // What follows the command is its own: ink-colour #112233, type-text -- and so on.
    command.positionals_at_end();
    command.prefix_command();
}

int runSend(const SendOptions& options) {
    if (options.lists) {
        list();
        return 0;
    }
    std::string line;
    for (const std::string& word : options.words)
        line.append(line.empty() ? "" : " ").append(word);
    if (line.empty())
        throw CommandError("nothing to send; lanternfly send --list shows what can be sent");
    // What is wrong with a path shows here: the show may have been started elsewhere.
    if (line.starts_with("open ")) {
        std::error_code failure;
        const auto whole = std::filesystem::canonical(line.substr(5), failure);
        if (failure)
            throw CommandError(
                fmt::format("{}: {}; choose another file", line.substr(5), failure.message()));
        line = "open " + whole.string();
    }
    const auto socket = controlSocket();
    if (!socket)
        throw CommandError("there is no XDG_RUNTIME_DIR, in which a show could be found; set it "
                           "as it was when the show began");
    const auto reply = askShow(*socket, line);
    if (!reply.isOk) throw CommandError(reply.text);
    if (!reply.text.empty()) fmt::print("{}\n", reply.text);
    return 0;
}

} // namespace lanternfly
