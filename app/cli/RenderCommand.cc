#include "app/cli/RenderCommand.h"

#include <cmath>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "app/CommandError.h"
#include "app/HandSkeletonVideo.h"
#include "app/Interrupt.h"
#include "app/OfflineRender.h"
#include "app/ReadyDetector.h"
#include "app/ScriptPlayer.h"
#include "app/Show.h"
#include "app/ShowRecords.h"
#include "app/cli/Options.h"
#include "app/cli/OutputNames.h"
#include "app/cli/Progress.h"
#include "app/cli/RenderReport.h"
#include "app/cli/ShowArguments.h"
#include "platform/linux/video/VideoFileReader.h"
#include "platform/linux/video/VideoFileWriter.h"

namespace lanternfly {
namespace {

namespace fs = std::filesystem;

// Frames that wait for their page need not hurry it, so that a busy machine gives the same video.
PdfWorkerOptions pdfLimits(const RenderOptions& options) {
    PdfWorkerOptions limits;
    if (!options.dropsInRealTime) limits.openLimit = limits.pageLimit = std::chrono::seconds(15);
    return limits;
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
    if (std::abs(aspect * options.show.height / options.show.width - 1) > tolerance)
        throw CommandError(fmt::format("{}: its hands were seen in pictures of {}x{} and would "
                                       "land elsewhere in {}x{}; give a --size of that shape",
                                       options.poses->string(), width, height, options.show.width,
                                       options.show.height));
    return poses;
}

// What hands are looked for in.
FramePlacement framedSize(const ShowOptions& options, const VideoInfo& camera) {
    return placeInFrame(camera.width, camera.height, camera.displayAspect,
                        static_cast<double>(options.width) / options.height, options.framing);
}

} // namespace

void declareRender(CLI::App& command, RenderOptions& options) {
    declareOptions(
        command,
        {{"--camera", &options.camera, "VIDEO",
          "Video of the presenter; may be left out where --poses gives the hands"},
         {"--deck", &options.show.deck, "PDF", "Slides", true},
         {"--out", &options.out, "VIDEO",
          "Video to write: .mp4 appears when it is complete, .mkv grows and plays even when cut "
          "off",
          true}});
    // The CPU gives the same bits on every machine; a driver does not promise that.
    declareShow(command, options.show);
    declareOptions(command,
                   {{"--poses", &options.poses, "TRACK",
                     "Take the hands from a pose track instead of looking for them; without a "
                     "camera they are drawn as well"},
                    {"--realtime-drops", &options.dropsInRealTime, "",
                     "Pace the frames as a camera would, and drop what comes too late, instead of "
                     "taking the time that each frame needs"}});
}

int runRender(const RenderOptions& options) {
    const ShowOptions& asked = options.show;
    Interrupt::install();
    refuseOverwriting({{"--camera", options.camera},
                       {"--deck", asked.deck},
                       {"--script", asked.script.value_or(fs::path{})},
                       {"--bindings", asked.bindings.value_or(fs::path{})},
                       {"--poses", options.poses.value_or(fs::path{})}},
                      {{"--out", options.out},
                       {"--record-poses", asked.recordedPoses.value_or(fs::path{})},
                       {"--events", asked.events.value_or(fs::path{})},
                       {"--trace", asked.trace.value_or(fs::path{})}});

    // Everything that can be wrong with the inputs shows before an output is begun.
    const auto reader = openCamera(options);
    auto playedPoses = openPoses(options);
    const auto inbox = std::make_shared<TaskInbox>();
    std::optional<ShowRecords> records; // outlives the show
    Show show(
        asked, [inbox](Task task) { inbox->post(std::move(task)); }, pdfLimits(options));
    auto slides = show.openDeck(asked.deck);
    Show::checkPage(*slides, asked.page);
    auto script = Show::readScript(asked, slides->slideCount());
    auto detector = playedPoses ? nullptr : readyDetector(show.handModel());
    const auto framed = framedSize(asked, reader->info());
    records.emplace(asked, framed.width, framed.height, reader->info().frameRate.framesPerSecond());
    ManualClock frameClock;
    show.begin({.clock = options.dropsInRealTime ? static_cast<const Clock&>(SystemClock::shared())
                                                 : static_cast<const Clock&>(frameClock),
                .makeDetector = [&detector] { return std::move(detector); },
                .detection = options.dropsInRealTime ? FramePipeline::Detection::free
                                                     : FramePipeline::Detection::awaited,
                .events = records->events(),
                .recordedPoses = records->poses(),
                .playedPoses = playedPoses ? &*playedPoses : nullptr,
                .slides = std::move(slides)});
    Presentation& presentation = show.presentation();
    show.pipeline().finish();
    inbox->runUntil([&] { return !presentation.isPageComing(); });
    if (const auto& problem = presentation.pageProblem()) throw CommandError(*problem);

    const auto writer = VideoFileWriter::create({.file = options.out,
                                                 .width = asked.width,
                                                 .height = asked.height,
                                                 .frameRate = reader->info().frameRate,
                                                 .soundFrom = soundOf(options)});
    ScriptPlayer player(presentation, *inbox, std::move(script),
                        options.dropsInRealTime ? ScriptPlayer::Pages::free
                                                : ScriptPlayer::Pages::awaited);
    StageTimes times(reader->info().frameCount, records->trace());
    Progress progress(reader->info().frameCount);
    const uint64_t start = SystemClock::shared().uptimeNanos();
    OfflineRender render({.reader = *reader,
                          .writer = *writer,
                          .pipeline = show.pipeline(),
                          .times = times,
                          .framing = show.framing(),
                          .clock = options.dropsInRealTime ? nullptr : &frameClock,
                          .beforeFrame = [&](double seconds) { player.advance(seconds); },
                          .isInterrupted = [] { return Interrupt::requested() != 0; },
                          .onProgress = [&](int64_t frames) { progress.update(frames); }});
    const auto result = render.run();
    const double wallSeconds =
        static_cast<double>(SystemClock::shared().uptimeNanos() - start) / 1e9;
    progress.clear();
    times.endTrace();
    records->finish(result.frames);

    const auto tell = [](const std::vector<std::string>& notes) {
        for (const std::string& note : notes)
            if (!note.empty()) fmt::print(stderr, "lanternfly: {}\n", note);
    };
    tell(show.notes());
    tell(player.notes());
    tell(writer->notes());
    if (playedPoses && !options.camera.empty()) tell({playedPoses->note()});
    tell({reader->damage()});
    printReport({.out = options.out,
                 .render = result,
                 .tally = show.pipeline().tally(),
                 .latency = show.pipeline().latency(),
                 .wallSeconds = wallSeconds,
                 .isPaced = options.dropsInRealTime},
                times);
    return result.isInterrupted ? 128 + Interrupt::requested() : 0;
}

} // namespace lanternfly
