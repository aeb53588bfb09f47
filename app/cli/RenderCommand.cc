#include "app/cli/RenderCommand.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <map>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "app/CommandError.h"
#include "app/HandSkeletonVideo.h"
#include "app/Interrupt.h"
#include "app/OfflineRender.h"
#include "app/Presentation.h"
#include "app/ReadyDetector.h"
#include "app/ScriptPlayer.h"
#include "app/TypedTextLayer.h"
#include "app/cli/OutputNames.h"
#include "app/cli/Progress.h"
#include "app/cli/RenderReport.h"
#include "app/commands/BindingsFile.h"
#include "base/FileBytes.h"
#include "base/UserFolders.h"
#include "diagnostics/PerfSignposts.h"
#include "gpu/Devices.h"
#include "platform/linux/defaults/FileDefaultsStore.h"
#include "platform/linux/pdf/PdfWorkerOpener.h"
#include "platform/linux/text/PangoTextPainter.h"
#include "platform/linux/video/OutputFile.h"
#include "platform/linux/video/VideoFileReader.h"
#include "platform/linux/video/VideoFileWriter.h"
#include "platform/linux/vision/OpenCvFaceDetector.h"

namespace lanternfly {
namespace {

namespace fs = std::filesystem;

constexpr int leastSidePX = 64;
constexpr int mostSidePX = 7680;

// "1920x1080"
std::optional<FrameSize> parseSize(const std::string& text) {
    FrameSize size{};
    const char* end = text.data() + text.size();
    const auto width = std::from_chars(text.data(), end, size.width);
    if (width.ec != std::errc{} || width.ptr == end || *width.ptr != 'x') return std::nullopt;
    const auto height = std::from_chars(width.ptr + 1, end, size.height);
    if (height.ec != std::errc{} || height.ptr != end) return std::nullopt;
    for (const int side : {size.width, size.height})
        if (side < leastSidePX || side > mostSidePX || side % 2 != 0) return std::nullopt;
    return size;
}

// A file beside the video: under its name when the render is complete.
std::unique_ptr<OutputFile> companion(const std::optional<fs::path>& target) {
    if (!target) return nullptr;
    return std::make_unique<OutputFile>(*target, OutputFile::WhenAbandoned::remove);
}

std::shared_ptr<TraceFile> openTrace(const std::unique_ptr<OutputFile>& file) {
    if (!file) return nullptr;
    std::shared_ptr<TraceFile> trace = TraceFile::create(file->workPath());
    if (!trace) throw CommandError("cannot write the trace; choose another place for --trace");
    PerfSignposts::setTrace(trace);
    return trace;
}

std::vector<TimedCommand> readScript(const std::optional<fs::path>& file, int pageCount) {
    if (!file) return {};
    std::string text;
    constexpr size_t maxBytes = 1u << 20;
    if (const auto failure = readFile(*file, maxBytes, text))
        throw CommandError(
            fmt::format("{}: {}; choose another --script", file->string(), failure.message()));
    auto script = parseScript(text, file->string());
    for (const TimedCommand& timed : script)
        if (const auto* to = std::get_if<command::GoToPage>(&timed.command);
            to && to->page > pageCount)
            throw CommandError(fmt::format("{} line {}: there is no page {}: choose 1 to {}",
                                           file->string(), timed.line, to->page, pageCount));
    return script;
}

// Frames that wait for their page need not hurry it, so that a busy machine gives the same video.
PdfWorkerOptions pdfLimits(const RenderOptions& options) {
    PdfWorkerOptions limits;
    if (!options.dropsInRealTime) limits.openLimit = limits.pageLimit = std::chrono::seconds(15);
    return limits;
}

// Without a home nothing is saved, and an empty folder has nothing to load.
FileDefaultsStore userDefaults() {
    return FileDefaultsStore(userConfigFolder().value_or("/nonexistent") / "lanternfly");
}

std::unique_ptr<EventLog> openEvents(const std::unique_ptr<OutputFile>& file) {
    if (!file) return nullptr;
    auto events = EventLog::create(file->workPath());
    if (!events)
        throw CommandError(fmt::format("cannot write {}: {}; choose another place for --events",
                                       file->workPath().string(), std::strerror(errno)));
    return events;
}

std::unique_ptr<VideoReader> openCamera(const RenderOptions& options) {
    if (!options.camera.empty()) return VideoFileReader::open(options.camera);
    if (!options.poses)
        throw CommandError("nothing to render: give a video with --camera, or recorded hands "
                           "with --poses");
    return std::make_unique<HandSkeletonVideo>(PoseTrackReader(*options.poses));
}

std::optional<fs::path> soundOf(const RenderOptions& options) {
    if (options.camera.empty()) return std::nullopt;
    return options.camera;
}

std::optional<PoseTrackPlayer> openPoses(const RenderOptions& options) {
    if (!options.poses) return std::nullopt;
    PoseTrackPlayer poses{PoseTrackReader(*options.poses)};
    const auto& [width, height, rate, about, expected] = poses.header();
    const double aspect = static_cast<double>(width) / height;
    constexpr double tolerance = 0.01; // as Framing's
    if (std::abs(aspect * options.height / options.width - 1) > tolerance)
        throw CommandError(fmt::format("{}: its hands were seen in pictures of {}x{} and would "
                                       "land elsewhere in {}x{}; give a --size of that shape",
                                       options.poses->string(), width, height, options.width,
                                       options.height));
    return poses;
}

// Useful as far as it got, so it is kept whatever happens.
std::unique_ptr<OutputFile> openRecording(const std::optional<fs::path>& target) {
    if (!target) return nullptr;
    return std::make_unique<OutputFile>(*target, OutputFile::WhenAbandoned::keep);
}

std::unique_ptr<PoseTrackWriter> recordPoses(const std::unique_ptr<OutputFile>& file,
                                             const VideoInfo& camera,
                                             const RenderOptions& options) {
    if (!file) return nullptr;
    const auto framed =
        placeInFrame(camera.width, camera.height, camera.displayAspect,
                     static_cast<double>(options.width) / options.height, options.framing);
    auto poses = PoseTrackWriter::create(
        file->workPath(), {.widthPX = std::clamp(framed.width, 1, PoseTrackLimits::sidePX),
                           .heightPX = std::clamp(framed.height, 1, PoseTrackLimits::sidePX),
                           .frameRate = camera.frameRate.framesPerSecond()});
    if (!poses)
        throw CommandError(fmt::format("cannot write {}: {}; choose another place for "
                                       "--record-poses",
                                       file->workPath().string(), std::strerror(errno)));
    return poses;
}

} // namespace

void declareRender(CLI::App& command, RenderOptions& options) {
    command
        .add_option("--camera", options.camera,
                    "Video of the presenter; may be left out where --poses gives the hands")
        ->type_name("VIDEO");
    command.add_option("--deck", options.deck, "Slides")->required()->type_name("PDF");
    command
        .add_option("--out", options.out,
                    "Video to write: .mp4 appears when it is complete, .mkv grows and plays "
                    "even when cut off")
        ->required()
        ->type_name("VIDEO");
    command.add_option("--page", options.page, "First page that is shown, from 1")
        ->capture_default_str();
    command.add_flag("--mirror", options.isMirrored, "Mirror the camera picture");
    command
        .add_option_function<std::string>(
            "--size",
            [&options](const std::string& text) {
                const auto size = parseSize(text);
                if (!size)
                    throw CLI::ValidationError(
                        "--size", fmt::format("{} is no size: write WIDTHxHEIGHT with even sides "
                                              "from {} to {}, such as 1280x720",
                                              text, leastSidePX, mostSidePX));
                options.width = size->width;
                options.height = size->height;
            },
            "Size of the output")
        ->type_name("WxH")
        ->default_str("1920x1080");
    static const std::map<std::string, FramingMode> framings{{"crop", FramingMode::crop},
                                                             {"bars", FramingMode::bars}};
    command
        .add_option("--framing", options.framing,
                    "A camera of another shape than the output: crop cuts its edges off, bars "
                    "shows all of it on black")
        ->transform(CLI::Transformer(framings).description(""))
        ->type_name("crop|bars")
        ->default_str("crop");
    command
        .add_option("--script", options.script,
                    "Commands with their times, a line each, such as 2.5 next-page; lanternfly "
                    "commands lists them")
        ->type_name("FILE");
    command
        .add_option("--bindings", options.bindings,
                    "What the signs of a hand do, instead of the user's own bindings")
        ->type_name("FILE");
    command
        .add_option("--events", options.events,
                    "Write what hands and commands do as lines of JSON (made anew when complete)")
        ->type_name("FILE");
    command
        .add_option("--poses", options.poses,
                    "Take the hands from a pose track instead of looking for them; without a "
                    "camera they are drawn as well")
        ->type_name("TRACK");
    command
        .add_option("--record-poses", options.recordedPoses,
                    "Write the hands as a pose track, frame by frame: it keeps what was written "
                    "when the program is stopped")
        ->type_name("TRACK");
    command
        .add_option("--trace", options.trace,
                    "Write a trace that Perfetto opens (made anew when complete)")
        ->type_name("FILE");
    command.add_flag("--faces", options.looksForFaces,
                     "Look for the presenter's face too, and write it into --events");
    command
        .add_option("--hand-model", options.handModel,
                    "Folder of other hand networks than the shipped ones")
        ->type_name("FOLDER");
    // The CPU gives the same bits on every machine; a driver does not promise that.
    command
        .add_option("--device", options.device,
                    "What draws the frames: cpu, vulkan (the best device), or vulkan:NAME")
        ->type_name("DEVICE")
        ->capture_default_str();
    command.add_flag("--realtime-drops", options.dropsInRealTime,
                     "Pace the frames as a camera would, and drop what comes too late, instead of "
                     "taking the time that each frame needs");
}

int runRender(const RenderOptions& options) {
    Interrupt::install();
    refuseOverwriting({{"--camera", options.camera},
                       {"--deck", options.deck},
                       {"--script", options.script.value_or(fs::path{})},
                       {"--bindings", options.bindings.value_or(fs::path{})},
                       {"--poses", options.poses.value_or(fs::path{})}},
                      {{"--out", options.out},
                       {"--record-poses", options.recordedPoses.value_or(fs::path{})},
                       {"--events", options.events.value_or(fs::path{})},
                       {"--trace", options.trace.value_or(fs::path{})}});

    // Everything that can be wrong with the inputs shows before an output is begun.
    const auto reader = openCamera(options);
    auto playedPoses = openPoses(options);
    const DeviceRef device = chooseDevice(options.device);
    if (!device)
        throw CommandError(fmt::format("there is no device {} here; leave --device out to draw on "
                                       "the CPU",
                                       options.device));
    PdfWorkerOpener opener(pdfLimits(options));
    const auto inbox = std::make_shared<TaskInbox>();
    const CallbackExecutor executor = [inbox](Task task) { inbox->post(std::move(task)); };
    auto slides = PDFSlideSource::open(options.deck, device, opener, executor);
    const int pageCount = slides->slideCount();
    if (options.page < 1 || options.page > pageCount)
        throw CommandError(fmt::format("{} has no page {}: choose --page 1 to {}",
                                       options.deck.string(), options.page, pageCount));
    auto script = readScript(options.script, pageCount);
    auto bindings = loadBindings(options.bindings);
    const auto compositor = FrameCompositor::create(device, options.width, options.height);
    if (!compositor)
        throw CommandError(fmt::format("frames of {}x{} cannot be drawn here; choose a smaller "
                                       "--size",
                                       options.width, options.height));
    const fs::path handModel = options.handModel.value_or(defaultHandModelFolder());
    auto detector = playedPoses ? nullptr : readyDetector(handModel);
    FaceDetectFeed::DetectorFactory makeFaceDetector;
    if (options.looksForFaces)
        makeFaceDetector = [handModel] { return std::make_unique<OpenCvFaceDetector>(handModel); };
    auto eventFile = companion(options.events);
    const auto events = openEvents(eventFile);
    auto poseFile = openRecording(options.recordedPoses);
    const auto recordedPoses = recordPoses(poseFile, reader->info(), options);
    ManualClock frameClock;
    const Clock& clock = options.dropsInRealTime ? static_cast<const Clock&>(SystemClock::shared())
                                                 : static_cast<const Clock&>(frameClock);
    FramePipeline pipeline({.clock = clock,
                            .makeDetector = [&detector] { return std::move(detector); },
                            .compositor = compositor,
                            .detection = options.dropsInRealTime
                                             ? FramePipeline::Detection::free
                                             : FramePipeline::Detection::awaited,
                            .events = events.get(),
                            .recordedPoses = recordedPoses.get(),
                            .playedPoses = playedPoses ? &*playedPoses : nullptr,
                            .makeFaceDetector = std::move(makeFaceDetector)});
    FileDefaultsStore defaults = userDefaults();
    TypedTextLayer text(device, std::make_unique<PangoTextPainter>(), options.width,
                        options.height);
    const auto presentation = Presentation::create({.pipeline = pipeline,
                                                    .slides = std::move(slides),
                                                    .defaults = defaults,
                                                    .executor = executor,
                                                    .bindings = std::move(bindings.bindings),
                                                    .firstPage = options.page,
                                                    .isMirrored = options.isMirrored});
    presentation->setTextPainter([&](const std::string& typed) { return text.paint(typed); });
    inbox->runUntil([&] { return !presentation->isPageComing(); });
    if (const auto& problem = presentation->pageProblem()) throw CommandError(*problem);

    const auto writer = VideoFileWriter::create({.file = options.out,
                                                 .width = options.width,
                                                 .height = options.height,
                                                 .frameRate = reader->info().frameRate,
                                                 .soundFrom = soundOf(options)});
    auto traceFile = companion(options.trace);
    auto trace = openTrace(traceFile);
    ScriptPlayer player(*presentation, *inbox, std::move(script),
                        options.dropsInRealTime ? ScriptPlayer::Pages::free
                                                : ScriptPlayer::Pages::awaited);
    StageTimes times(reader->info().frameCount, trace);
    Progress progress(reader->info().frameCount);
    const uint64_t start = SystemClock::shared().uptimeNanos();
    OfflineRender render(
        {.reader = *reader,
         .writer = *writer,
         .pipeline = pipeline,
         .times = times,
         .framing = Framing(static_cast<double>(options.width) / options.height, options.framing),
         .clock = options.dropsInRealTime ? nullptr : &frameClock,
         .beforeFrame = [&](double seconds) { player.advance(seconds); },
         .isInterrupted = [] { return Interrupt::requested() != 0; },
         .onProgress = [&](int64_t frames) { progress.update(frames); }});
    const auto result = render.run();
    const double wallSeconds =
        static_cast<double>(SystemClock::shared().uptimeNanos() - start) / 1e9;
    progress.clear();

    if (events && !events->end(result.frames))
        throw CommandError(fmt::format("cannot write {}: make room on its disk and run again",
                                       options.events->string()));
    if (eventFile) eventFile->commit();
    if (recordedPoses && !recordedPoses->isWhole())
        throw CommandError(fmt::format("cannot write {}: make room on its disk and run again",
                                       options.recordedPoses->string()));
    if (poseFile) poseFile->commit();
    PerfSignposts::setTrace(nullptr);
    times.endTrace();
    trace.reset();
    if (traceFile) traceFile->commit();

    for (const std::string& problem : bindings.problems)
        fmt::print(stderr, "lanternfly: {}\n", problem);
    for (const std::string& note : player.notes())
        fmt::print(stderr, "lanternfly: {}\n", note);
    for (const std::string& note : writer->notes())
        fmt::print(stderr, "lanternfly: {}\n", note);
    if (playedPoses && !options.camera.empty() && !playedPoses->note().empty())
        fmt::print(stderr, "lanternfly: {}\n", playedPoses->note());
    if (const auto damage = reader->damage(); !damage.empty())
        fmt::print(stderr, "lanternfly: {}\n", damage);
    printReport({.out = options.out,
                 .render = result,
                 .tally = pipeline.tally(),
                 .latency = pipeline.latency(),
                 .wallSeconds = wallSeconds,
                 .isPaced = options.dropsInRealTime},
                times);
    return result.isInterrupted ? 128 + Interrupt::requested() : 0;
}

} // namespace lanternfly
