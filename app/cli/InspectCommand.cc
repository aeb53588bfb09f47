#include "app/cli/InspectCommand.h"

#include <fstream>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "app/CommandError.h"
#include "app/Interrupt.h"
#include "app/ReadyDetector.h"
#include "app/cli/Options.h"
#include "app/cli/OutputNames.h"
#include "app/cli/Progress.h"
#include "app/inspect/GestureReplay.h"
#include "app/inspect/HandRecording.h"
#include "app/inspect/InspectReport.h"
#include "base/UserFolders.h"
#include "platform/linux/defaults/FileDefaultsStore.h"
#include "platform/linux/video/OutputFile.h"
#include "platform/linux/video/VideoFileReader.h"
#include "store/PersistedTuningStore.h"
#include "store/Tunings.h"
#include "tracks/PoseTrackReader.h"

namespace lanternfly {
namespace {

namespace fs = std::filesystem;

bool isPoseTrack(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return stream.get() == '{'; // no video begins so
}

PoseTrack tracked(const fs::path& file) {
    if (isPoseTrack(file)) return readPoseTrack(PoseTrackReader(file));
    const auto video = VideoFileReader::open(file);
    auto detector = readyDetector();
    Progress progress(video->info().frameCount);
    constexpr double renderAspect = 16.0 / 9; // of render's default size
    auto track = recordHands({.video = *video,
                              .framing = Framing(renderAspect, FramingMode::crop),
                              .makeDetector = [&detector] { return std::move(detector); },
                              .onProgress =
                                  [&](int64_t frames) {
                                      progress.update(frames);
                                      return Interrupt::requested() == 0;
                                  }});
    track.note = video->damage();
    return track;
}

void print(const std::string& name, const EventScore& score) {
    const auto frames = [](std::optional<double> lag) {
        return lag ? fmt::format("{:.1f}", *lag) : "-";
    };
    fmt::print("{:<24}{:>6}{:>6}{:>8}{:>9}{:>12}{:>7}\n", name, score.found, score.late,
               score.missed, score.unasked, frames(score.medianLag()), frames(score.worstLag()));
}

TrackingConfig userTuning() {
    const FileDefaultsStore defaults(userConfigFolder().value_or("/nonexistent") / "lanternfly");
    return PersistedTuningStore::savedOrDefaults<TrackingConfig>(defaults);
}

void describe(const fs::path& file, const GestureTimeline& timeline,
              std::span<const Remark> remarks) {
    fmt::print("{}: {}\n", file.string(), inspectSummary(timeline));
    for (const TimelineEvent& event : timeline.events)
        fmt::print("{:>9.3f} s  {}\n", event.seconds, nameOf(event.event));
    for (const Remark& remark : remarks)
        fmt::print("{:>9.3f} s  {}\n", remark.startSeconds, remark.text);
    if (const auto verdict = inspectVerdict(timeline); !verdict.empty())
        fmt::print("{}\n", verdict);
}

void write(OutputFile& file, const fs::path& out, const std::string& page) {
    std::ofstream stream(file.workPath(), std::ios::binary);
    stream << page;
    stream.close();
    if (!stream)
        throw CommandError(
            fmt::format("cannot write {}: make room on its disk and run again", out.string()));
    file.commit();
}

// A table of tracks that state what must come of them, which the built-in tuning is held to.
int compareAll(const std::vector<fs::path>& files) {
    EventScore all;
    fmt::print("{:<24}{:>6}{:>6}{:>8}{:>9}{:>12}{:>7}\n", "track", "found", "late", "missed",
               "unasked", "lag: median", "worst");
    for (const fs::path& file : files) {
        const auto track = tracked(file);
        if (!track.header.expected)
            throw CommandError(fmt::format("{} does not state what must come of it; look at it "
                                           "alone",
                                           file.string()));
        const auto timeline = replayGestures(track);
        const auto score =
            scoreEvents(*track.header.expected, timeline.events, track.header.frameRate);
        print(file.stem().string(), score);
        for (const std::string& fault : score.faults)
            fmt::print("    {}\n", fault);
        all.add(score);
    }
    print("all", all);
    return all.isRight() ? 0 : 1;
}

} // namespace

void declareInspect(CLI::App& command, InspectOptions& options) {
    command
        .add_option("input", options.inputs,
                    "A pose track, or a video whose hands are looked for; of several tracks a "
                    "table is printed")
        ->required()
        ->type_name("TRACK|VIDEO");
    declareOptions(command, {{"--out", &options.out, "HTML",
                              "Page to write, with plots of all that was measured"},
                             {"--default-tuning", &options.usesDefaultTuning, "",
                              "Leave the user's own tuning aside"}});
}

int runInspect(const InspectOptions& options) {
    Interrupt::install();
    if (options.inputs.size() > 1) {
        if (!options.out.empty())
            throw CommandError("--out shows one track or video; give only one");
        return compareAll(options.inputs);
    }
    const fs::path& input = options.inputs.front();
    refuseOverwriting({{"the input", input}}, {{"--out", options.out}});
    // A page that cannot be written shows before a video is looked through.
    std::optional<OutputFile> page;
    if (!options.out.empty()) page.emplace(options.out, OutputFile::WhenAbandoned::remove);
    const auto track = tracked(input);
    const auto tuning = options.usesDefaultTuning ? TrackingConfig::defaults : userTuning();
    const auto timeline = replayGestures(track, tuning);
    const auto remarks = remarksOn(timeline);
    if (!track.note.empty()) fmt::print(stderr, "lanternfly: {}\n", track.note);
    describe(input, timeline, remarks);
    if (page)
        write(*page, options.out, inspectReport(input.filename().string(), timeline, remarks));
    if (Interrupt::requested() != 0) return 128 + Interrupt::requested();
    const auto& expected = track.header.expected;
    return expected && !scoreEvents(*expected, timeline.events, track.header.frameRate).isRight();
}

} // namespace lanternfly
