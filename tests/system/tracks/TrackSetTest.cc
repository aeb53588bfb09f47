// Every track of tests/tracks through the recognizers, connected as in a presentation: what its
// header says must come, and nothing else.
#include <algorithm>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "app/inspect/EventScore.h"
#include "app/inspect/GestureReplay.h"
#include "support/LogCapture.h"
#include "tracks/PoseTrackReader.h"

namespace lanternfly {
namespace {

namespace fs = std::filesystem;

std::vector<fs::path> trackFiles() {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(LANTERNFLY_SOURCE_DIR "/tests/tracks"))
        if (entry.path().extension() == ".jsonl") files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

void print(const std::string& name, const EventScore& score) {
    const auto lag = [](std::optional<double> frames) {
        return frames ? fmt::format("{:.1f}", *frames) : "-";
    };
    fmt::print("{:<24}{:>6}{:>6}{:>8}{:>9}{:>10}{:>8}\n", name, score.found, score.late,
               score.missed, score.unasked, lag(score.medianLag()), lag(score.worstLag()));
}

TEST(TrackSet, EveryTrackGivesTheEventsThatItStatesAndNoOther) {
    const test::LogCapture quiet(LogLevel::error);
    const auto files = trackFiles();
    ASSERT_GT(files.size(), 50u);
    EventScore all;
    fmt::print("{:<24}{:>6}{:>6}{:>8}{:>9}{:>10}{:>8}\n", "track", "found", "late", "missed",
               "unasked", "median", "worst");
    for (const fs::path& file : files) {
        const auto track = readPoseTrack(PoseTrackReader(file));
        ASSERT_EQ(track.note, "");
        ASSERT_TRUE(track.header.expected) << file << " does not say what must come of it";
        const auto timeline = replayGestures(track);
        const auto score =
            scoreEvents(*track.header.expected, timeline.events, track.header.frameRate);
        print(file.stem().string(), score);
        for (const std::string& fault : score.faults)
            ADD_FAILURE() << file.filename().string() << ": " << fault << "  ("
                          << track.header.about << ")";
        all.add(score);
    }
    print("all", all);
    EXPECT_GT(all.found, 100);
}

} // namespace
} // namespace lanternfly
