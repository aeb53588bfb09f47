#include "tracks/PoseTrackPlayer.h"

#include <gtest/gtest.h>

#include "support/Tracks.h"

namespace lanternfly {
namespace {

PoseTrackPlayer player(const std::string& lines) {
    return PoseTrackPlayer(test::trackReader(std::string(test::plainHeader) + "\n" + lines));
}

std::optional<double> given(PoseTrackPlayer& player, double seconds) {
    const PoseTrackFrame* frame = player.at(seconds);
    return frame ? std::optional(frame->seconds) : std::nullopt;
}

TEST(PoseTrackPlayer, FramesOfTheSameTimesMeetOneToOne) {
    auto track = player(R"({"time":0,"hands":[]})"
                        "\n"
                        R"({"time":0.0333,"hands":[]})"
                        "\n"
                        R"({"time":0.0667,"hands":[]})"
                        "\n");
    EXPECT_EQ(given(track, 0), 0);
    EXPECT_EQ(given(track, 0.033366667), 0.0333);
    EXPECT_EQ(given(track, 0.066733333), 0.0667);
    EXPECT_EQ(given(track, 0.1), std::nullopt);
}

TEST(PoseTrackPlayer, AFasterCameraGetsEachFrameOnce) {
    auto track = player(R"({"time":0.1,"hands":[]})"
                        "\n"
                        R"({"time":0.2,"hands":[]})"
                        "\n");
    EXPECT_EQ(given(track, 0), std::nullopt);
    EXPECT_EQ(given(track, 0.09), 0.1);
    EXPECT_EQ(given(track, 0.12), std::nullopt);
    EXPECT_EQ(given(track, 0.21), 0.2);
}

TEST(PoseTrackPlayer, ASlowerCameraGetsTheNewestFrame) {
    auto track = player(R"({"time":0.1,"hands":[]})"
                        "\n"
                        R"({"time":0.2,"hands":[]})"
                        "\n");
    EXPECT_EQ(given(track, 1), 0.2);
}

TEST(PoseTrackPlayer, AFrameThatNobodyLookedAtHasNoHandsToGive) {
    auto track = player(R"({"time":0.1})"
                        "\n"
                        R"({"time":0.2,"hands":[]})"
                        "\n");
    EXPECT_EQ(given(track, 0.1), std::nullopt);
    EXPECT_EQ(given(track, 0.2), 0.2);
}

TEST(PoseTrackPlayer, AFaultIsToldWhenItIsReached) {
    auto track = player(R"({"time":0})"
                        "\n"
                        R"({"time":1})"
                        "\nrubbish\n");
    EXPECT_EQ(given(track, 0), std::nullopt);
    EXPECT_THROW(track.at(1), PoseTrackError);
}

} // namespace
} // namespace lanternfly
