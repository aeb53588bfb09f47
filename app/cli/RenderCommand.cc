#include "app/cli/RenderCommand.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <map>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "app/CommandError.h"
#include "app/Interrupt.h"
#include "app/OfflineRender.h"
#include "app/SlideLoading.h"
#include "app/cli/OutputNames.h"
#include "app/cli/Progress.h"
#include "app/cli/RenderReport.h"
#include "diagnostics/PerfSignposts.h"
#include "gpu/Devices.h"
#include "platform/linux/pdf/PdfWorkerOpener.h"
#include "platform/linux/video/OutputFile.h"
#include "platform/linux/video/VideoFileReader.h"
#include "platform/linux/video/VideoFileWriter.h"
#include "platform/linux/vision/OpenCvHandPoseDetector.h"

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

// Loaded and run once before anything is written, so that missing networks are an error and not a
// video without hands.
std::unique_ptr<HandPoseDetector> readyDetector() {
    auto detector = std::make_unique<OpenCvHandPoseDetector>();
    const auto blank = PixelBuffer::create(480, 270);
    std::memset(blank->data(), 0, PixelBuffer::sizeBytes(480, 270, PixelFormat::bgra8));
    std::vector<HandObservation> hands;
    detector->detect(*blank, hands);
    return detector;
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

std::unique_ptr<EventLog> openEvents(const std::unique_ptr<OutputFile>& file) {
    if (!file) return nullptr;
    auto events = EventLog::create(file->workPath());
    if (!events)
        throw CommandError(fmt::format("cannot write {}: {}; choose another place for --events",
                                       file->workPath().string(), std::strerror(errno)));
    return events;
}

} // namespace

void declareRender(CLI::App& command, RenderOptions& options) {
    command.add_option("--camera", options.camera, "Video of the presenter")
        ->required()
        ->type_name("VIDEO");
    command.add_option("--deck", options.deck, "Slides")->required()->type_name("PDF");
    command
        .add_option("--out", options.out,
                    "Video to write: .mp4 appears when it is complete, .mkv grows and plays "
                    "even when cut off")
        ->required()
        ->type_name("VIDEO");
    command.add_option("--page", options.page, "Page of the deck, from 1")->capture_default_str();
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
        .add_option("--events", options.events,
                    "Write hands and pinches as lines of JSON (made anew when complete)")
        ->type_name("FILE");
    command
        .add_option("--trace", options.trace,
                    "Write a trace that Perfetto opens (made anew when complete)")
        ->type_name("FILE");
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
    refuseOverwriting({{"--camera", options.camera}, {"--deck", options.deck}},
                      {{"--out", options.out},
                       {"--events", options.events.value_or(fs::path{})},
                       {"--trace", options.trace.value_or(fs::path{})}});

    // Everything that can be wrong with the inputs shows before an output is begun.
    const auto reader = VideoFileReader::open(options.camera);
    const DeviceRef device = chooseDevice(options.device);
    if (!device)
        throw CommandError(fmt::format("there is no device {} here; leave --device out to draw on "
                                       "the CPU",
                                       options.device));
    PdfWorkerOpener opener;
    const TextureRef slide = loadSlide(options.deck, options.page, device, opener);
    const auto compositor = FrameCompositor::create(device, options.width, options.height);
    if (!compositor)
        throw CommandError(fmt::format("frames of {}x{} cannot be drawn here; choose a smaller "
                                       "--size",
                                       options.width, options.height));
    auto detector = readyDetector();

    const auto writer = VideoFileWriter::create({.file = options.out,
                                                 .width = options.width,
                                                 .height = options.height,
                                                 .frameRate = reader->info().frameRate,
                                                 .soundFrom = options.camera});
    auto eventFile = companion(options.events);
    auto traceFile = companion(options.trace);
    const auto events = openEvents(eventFile);
    auto trace = openTrace(traceFile);

    ManualClock frameClock;
    const Clock& clock = options.dropsInRealTime ? static_cast<const Clock&>(SystemClock::shared())
                                                 : static_cast<const Clock&>(frameClock);
    FramePipeline pipeline({.clock = clock,
                            .makeDetector = [&detector] { return std::move(detector); },
                            .compositor = compositor,
                            .slide = slide,
                            .detection = options.dropsInRealTime
                                             ? FramePipeline::Detection::free
                                             : FramePipeline::Detection::awaited,
                            .isMirrored = options.isMirrored,
                            .events = events.get()});
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
    PerfSignposts::setTrace(nullptr);
    times.endTrace();
    trace.reset();
    if (traceFile) traceFile->commit();

    for (const std::string& note : writer->notes())
        fmt::print(stderr, "lanternfly: {}\n", note);
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
