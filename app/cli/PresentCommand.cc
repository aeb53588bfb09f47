#include "app/cli/PresentCommand.h"

#include <climits>
#include <map>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "app/CommandError.h"
#include "app/Interrupt.h"
#include "app/cli/Options.h"
#include "app/cli/OutputNames.h"
#include "app/cli/ShowArguments.h"
#include "app/commands/CommandTable.h"
#include "app/control/ControlServer.h"
#include "app/live/LiveShow.h"
#include "app/live/PresentSettings.h"
#include "app/sinks/OpenOutputs.h"
#include "base/Logger.h"

namespace lanternfly {
namespace {

namespace fs = std::filesystem;

void tell(const std::string& note) {
    fmt::print(stderr, "lanternfly: {}\n", note);
}

// What is wrong with cameras and outputs is told by Troubles, once and with what to do.
void quietenLog() {
    if (Logger::minimumLevel() < LogLevel::error) return; // the user wants all
    Logger::exchangeSink([](const LogRecord& record) {
        const bool isToldByUs =
            record.category.starts_with("CameraFeed") || record.category.ends_with("Stream") ||
            record.category.ends_with("Sink") || record.category == "VirtualCamera";
        if (!isToldByUs) fmt::print(stderr, "lanternfly: {}\n", record.message);
    });
}

// What the show answers to other programs.
class Answers {
public:
    Answers(LiveShow& show, EventLoop& loop) : _show(show), _loop(loop) {}

    void operator()(const std::string& line, const ControlServer::Reply& reply) const {
        if (line == "status") return reply(ControlReply::ok(statusJson(_show.status())));
        if (line == "quit") {
            reply(ControlReply::ok());
            return _loop.quit();
        }
        if (line.starts_with("open "))
            return _show.openDeck(line.substr(5), 1, [reply](const LiveShow::Problem& problem) {
                reply(problem ? ControlReply::error(*problem) : ControlReply::ok());
            });
        if (line.starts_with("camera ")) return reply(takeCamera(line.substr(7)));
        try {
            const auto problem = _show.apply(parseCommand(line));
            reply(problem ? ControlReply::error(*problem) : ControlReply::ok());
        } catch (const CommandError& error) {
            reply(ControlReply::error(error.what()));
        }
    }

private:
    ControlReply takeCamera(const std::string& idOrName) const {
        if (idOrName == "best") {
            _show.camera().use(std::nullopt);
            return ControlReply::ok();
        }
        if (_show.camera().useAttached(idOrName)) return ControlReply::ok();
        return ControlReply::error(fmt::format(
            "no camera {} is attached; lanternfly cameras lists those that are", idOrName));
    }

    LiveShow& _show;
    EventLoop& _loop;
};

// Null when nobody can talk to this show.
std::unique_ptr<ControlServer> listenForOthers(const PresentOptions& options, EventLoop& loop,
                                               const std::optional<Answers>& answers) {
    if (options.hasNoControl) return nullptr;
    const auto socket = controlSocket();
    if (!socket) {
        tell("there is no XDG_RUNTIME_DIR, so lanternfly send cannot reach this show");
        return nullptr;
    }
    return std::make_unique<ControlServer>(
        loop, *socket, [&answers](const std::string& line, const ControlServer::Reply& reply) {
            (*answers)(line, reply);
        });
}

// Tells what is wrong with the camera and the outputs, once each, and when it is well again.
class Troubles {
public:
    using Tell = std::function<void(const std::string& note)>;
    explicit Troubles(Tell teller) : tell(std::move(teller)) {}

    const Tell tell;

    void look(const LiveStatus& status) {
        // One that has only just fallen silent may be back at once.
        if (status.camera.state != CameraStatus::State::silent || !status.camera.problem.empty())
            note("camera", status.camera.problem,
                 fmt::format("camera {} is there", status.camera.name));
        for (const auto& [name, output] : status.outputs)
            note(name, output.problem, fmt::format("{} works", name));
    }

private:
    void note(const std::string& what, const std::string& problem, const std::string& relief) {
        std::string& told = _told[what];
        if (told == problem) return;
        tell(problem.empty() ? relief : problem);
        told = problem;
    }

    std::map<std::string, std::string> _told;
};

// What the user did not say is as the settings have it.
PresentOptions withSettings(PresentOptions options) {
    const auto read = loadSettings();
    for (const std::string& problem : read.problems)
        tell(problem);
    const PresentSettings& settings = read.settings;
    if (options.camera.empty()) options.camera = settings.camera;
    if (options.outputs.empty()) options.outputs = settings.outputs;
    options.show.isMirrored |= settings.isMirrored;
    if (options.look == WindowLook::system) options.look = settings.look;
    if (options.savesSettings)
        saveSettings({options.camera, options.outputs, options.show.isMirrored, options.look});
    if (options.outputs.empty()) options.outputs = {"pipewire"};
    return options;
}

} // namespace

void declarePresent(CLI::App& command, PresentOptions& options) {
    options.show.device.clear(); // the GPU where there is one
    declareOptions(
        command,
        {{"deck", &options.show.deck, "PDF", "Slides; without them only the camera is shown"},
         {"--camera", &options.camera, "ID|FILE|demo",
          "A camera of lanternfly cameras by its identifier or name, a video, or the demo "
          "presenter; the best camera if left out"},
         {"--output", &options.outputs, "LIST",
          "Where the picture goes besides the window, with commas between: pipewire (if left out) "
          "or v4l2, a camera for other programs; file:talk.mkv, a recording; or none"},
         {"--no-sound", &options.hasNoSound, "", "Record no sound; usually the microphone is"},
         {"--no-window", &options.hasNoWindow, "", "Show no window"},
         {"--no-control", &options.hasNoControl, "",
          "Take no commands from lanternfly send, so that another show may run"},
         {"--save-settings", &options.savesSettings, "",
          "Take this camera, these outputs, the mirror and the look from now on when nothing else "
          "is said"}});
    static const std::map<std::string, WindowLook> looks{
        {"system", WindowLook::system}, {"light", WindowLook::light}, {"dark", WindowLook::dark}};
    command.add_option("--look", options.look, "How the window looks")
        ->transform(CLI::Transformer(looks).description(""))
        ->type_name("system|light|dark")
        ->default_str("system");
    declareShow(command, options.show);
}

int runPresent(const PresentOptions& given, const MakeShowWindow& makeWindow) {
    const uint64_t start = SystemClock::shared().uptimeNanos();
    const PresentOptions options = withSettings(given);
    const ShowOptions& asked = options.show;
    Interrupt::install();
    quietenLog();
    const auto choices = parseOutputs(options.outputs);
    std::vector<NamedFile> written{{"--record-poses", asked.recordedPoses.value_or(fs::path{})},
                                   {"--events", asked.events.value_or(fs::path{})},
                                   {"--trace", asked.trace.value_or(fs::path{})}};
    for (const OutputChoice& choice : choices)
        if (const auto* file = std::get_if<FileOutput>(&choice))
            written.push_back({"--output", file->file});
    std::error_code failure; // no file: a camera of another kind
    refuseOverwriting({{"the deck", asked.deck},
                       {"--script", asked.script.value_or(fs::path{})},
                       {"--bindings", asked.bindings.value_or(fs::path{})},
                       {"--camera", fs::exists(options.camera, failure) ? options.camera : ""}},
                      written);
    if (asked.script) Show::readScript(asked, INT_MAX); // before anything begins

    const auto loop = std::make_shared<EventLoop>();
    // A second show ends here, before it touches a camera or a file.
    std::optional<Answers> answers; // there when the loop runs
    const auto control = listenForOthers(options, *loop, answers);
    const auto window = options.hasNoWindow ? nullptr : makeWindow(options.look);
    std::vector<std::unique_ptr<FrameSink>> outputs;
    if (window) outputs.push_back(window->makeSink());
    for (auto& output : openOutputs(choices, {asked.width, asked.height, !options.hasNoSound}))
        outputs.push_back(std::move(output));
    Troubles troubles([&](const std::string& note) {
        tell(note);
        if (window) window->note(note);
    });
    std::function<void()> onChange = [] {}; // until there is a show
    LiveShow show({.options = asked,
                   .camera = cameraSource(options.camera),
                   .outputs = std::move(outputs),
                   .loop = loop,
                   .onNote = [&](const std::string& note) { troubles.tell(note); },
                   .onChange = [&] { onChange(); },
                   .startNanos = start});
    onChange = [&] {
        troubles.look(show.status());
        if (window) window->refresh();
    };
    answers.emplace(show, *loop);
    const auto interrupt = loop->watch(Interrupt::descriptor(), [&] { loop->quit(); });

    LiveShow::Problem trouble;
    const auto begin = [&](const LiveShow::Problem& problem) {
        trouble = problem ? problem : show.playScript();
        if (trouble) loop->quit();
    };
    if (asked.deck.empty())
        begin(std::nullopt);
    else
        show.openDeck(asked.deck, asked.page, begin);
    if (window) {
        window->attach(show);
        window->run(*loop);
    } else {
        loop->run();
    }
    const std::string summary = statusLine(show.status());
    show.finish();
    if (trouble) throw CommandError(*trouble);
    fmt::print("{}\n", summary);
    return 0; // a signal is how a show ends
}

} // namespace lanternfly
