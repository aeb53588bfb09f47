#include <cmath>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "app/EventLog.h"
#include "support/Shell.h"
#include "support/TemporaryFolder.h"

namespace lanternfly {
namespace {

std::vector<nlohmann::json> linesOf(const std::filesystem::path& file) {
    std::istringstream text(test::contents(file));
    std::vector<nlohmann::json> lines;
    for (std::string line; std::getline(text, line);)
        lines.push_back(nlohmann::json::parse(line));
    return lines;
}

TEST(EventLog, EveryLineIsAnObjectOfItsKind) {
    test::TemporaryFolder folder;
    auto log = EventLog::create(folder / "events");
    ASSERT_TRUE(log);
    HandPose right;
    right.chirality = HandPose::Chirality::right;
    right.averageConfidence = 0.5f;
    right.landmarks.set(HandLandmark::wrist, {0.25f, 0.5f, 0.75f});
    right.landmarks.set(HandLandmark::pinkyTip, {std::nanf(""), 1, 1});
    const HandPose unknown;
    log->hands(3, 0.1, std::array{right, unknown});
    log->pinch(4, 0.1333, PinchBegan{{0.5f, 0.25f}, {}, 0});
    log->pinch(5, 0.1667, PinchChanged{{0.5f, 0.25f}, 1.5f, {}, 0});
    log->pinch(6, 0.2, PinchEnded{});
    EXPECT_TRUE(log->end(7));

    const auto lines = linesOf(folder / "events");
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[0]["frame"], 3);
    EXPECT_EQ(lines[0]["hands"].size(), 2u);
    EXPECT_EQ(lines[0]["hands"][0]["chirality"], "right");
    EXPECT_EQ(lines[0]["hands"][0]["landmarks"].size(), handLandmarkCount);
    EXPECT_EQ(lines[0]["hands"][0]["landmarks"][0], nlohmann::json({0.25, 0.5, 0.75}));
    EXPECT_TRUE(lines[0]["hands"][0]["landmarks"][1].is_null());
    EXPECT_TRUE(lines[0]["hands"][0]["landmarks"][20][0].is_null());
    EXPECT_EQ(lines[0]["hands"][1]["chirality"], "unknown");
    EXPECT_EQ(lines[1]["phase"], "began");
    EXPECT_EQ(lines[1]["at"], nlohmann::json({0.5, 0.25}));
    EXPECT_EQ(lines[2]["scaleDelta"], 1.5);
    EXPECT_EQ(lines[3]["phase"], "ended");
    EXPECT_EQ(lines[4], (nlohmann::json{{"type", "end"}, {"frames", 7}}));
}

TEST(EventLog, AFullDiskIsTold) {
    auto log = EventLog::create("/dev/full");
    ASSERT_TRUE(log);
    EXPECT_FALSE(log->end(0));
}

TEST(EventLog, AFolderThatIsNotThereGivesNone) {
    EXPECT_FALSE(EventLog::create("/nowhere/at/all"));
}

} // namespace
} // namespace lanternfly
