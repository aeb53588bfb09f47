// Where a running show listens for other programs of its user, and how they talk: a line each way,
// a command of `lanternfly commands` or one of the requests below, then "ok", a space and what was
// asked for, or "error" and what is wrong.
// Threads: safe.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace lanternfly {

// $XDG_RUNTIME_DIR/lanternfly/control.sock. Absent when the system gives its users no such folder.
std::optional<std::filesystem::path> controlSocket();

struct ControlReply {
    bool isOk = false;
    std::string text; // what was asked for, or what is wrong

    static ControlReply ok(std::string text = {}) { return {true, std::move(text)}; }
    static ControlReply error(std::string text) { return {false, std::move(text)}; }
};
std::string lineOf(const ControlReply& reply);                 // with its end
std::optional<ControlReply> parseReply(std::string_view line); // without its end

// What can be asked besides commands.
struct ControlRequest {
    std::string_view name;
    std::string_view argument;
    std::string_view summary;
};
inline constexpr ControlRequest controlRequests[]{
    {"status", "", "Tell how the show is doing, as JSON"},
    {"open", "FILE", "Show another PDF"},
    {"camera", "ID|NAME|best", "Take another camera of lanternfly cameras, or the best one"},
    {"quit", "", "End the show"},
};

// Sends a line to the show that listens there and waits for the answer. Throws CommandError when
// there is none, or no answer comes.
ControlReply askShow(const std::filesystem::path& socket, std::string_view line);

} // namespace lanternfly
