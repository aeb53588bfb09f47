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

MediaTime at(double seconds) {
    return MediaTime::make(std::llround(seconds * 10000), 10000);
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
    log->hands({3, at(0.1)}, std::array{right, unknown});
    log->pinch({4, at(0.1333)}, PinchBegan{{0.5f, 0.25f}, {}, 0});
    log->pinch({5, at(0.1667)}, PinchChanged{{0.5f, 0.25f}, 1.5f, {}, 0});
    log->pinch({6, at(0.2)}, PinchEnded{});
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

TEST(EventLog, WhatBothHandsSignsStrokesAndCommandsDoIsOnLinesOfItsOwn) {
    test::TemporaryFolder folder;
    auto log = EventLog::create(folder / "events");
    ASSERT_TRUE(log);
    const FrameStamp frame{12, at(0.4)};
    log->twoHandPinch(frame, TwoHandPinchBegan{{0.5f, 0.25f}, {}, 0});
    log->twoHandPinch(frame,
                      TwoHandPinchChanged{{0.5f, 0.5f}, 0.75f, 0.25f, 2, 0, 0, 0.125f, {}, 0});
    log->twoHandPinch(frame, TwoHandPinchEnded{});
    log->sign(frame, HandSign::peaceSign);
    log->stroke(frame, true, 1);
    log->stroke(frame, false, 40);
    log->command(frame, "type-text \"quoted\" \xff");
    log->page(frame, 3);
    log->text(frame, "two\nlines");
    EXPECT_TRUE(log->end(13));

    const auto lines = linesOf(folder / "events");
    ASSERT_EQ(lines.size(), 10u);
    for (size_t i = 0; i + 1 < lines.size(); ++i) {
        EXPECT_EQ(lines[i]["frame"], 12);
        EXPECT_EQ(lines[i]["time"], 0.4);
    }
    EXPECT_EQ(lines[0]["type"], "twoHandPinch");
    EXPECT_EQ(lines[0]["phase"], "began");
    EXPECT_EQ(lines[0]["at"], nlohmann::json({0.5, 0.25}));
    EXPECT_EQ(lines[1]["scaleRatio"], 2);
    EXPECT_EQ(lines[1]["yaw"], 0.5);
    EXPECT_EQ(lines[1]["separation"], 0.125);
    EXPECT_EQ(lines[2]["phase"], "ended");
    EXPECT_EQ(lines[3]["sign"], "peace-sign");
    EXPECT_EQ(lines[4]["phase"], "began");
    EXPECT_EQ(lines[5]["points"], 40);
    EXPECT_EQ(lines[6]["command"], "type-text \"quoted\" \xEF\xBF\xBD");
    EXPECT_EQ(lines[7]["page"], 3);
    EXPECT_EQ(lines[8]["text"], "two\nlines");
}

TEST(EventLog, AFullDiskIsTold) {
    auto log = EventLog::create("/dev/full");
    ASSERT_TRUE(log);
    EXPECT_FALSE(log->end(0));
}

TEST(EventLog, AFolderThatIsNotThereGivesNone) {
    EXPECT_FALSE(EventLog::create("/nowhere/at/all"));
}

TEST(EventLog, TheFaceIsARectangleOrNull) {
    test::TemporaryFolder folder;
    auto log = EventLog::create(folder / "events");
    ASSERT_TRUE(log);
    log->face({6, at(0.2)}, FaceRect{0.25, 0.5, 0.125, 0.25});
    log->face({12, at(0.4)}, std::nullopt);
    EXPECT_TRUE(log->end(13));
    const auto lines = linesOf(folder / "events");
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0]["type"], "face");
    EXPECT_EQ(lines[0]["frame"], 6);
    EXPECT_EQ(lines[0]["face"], (nlohmann::json{0.25, 0.5, 0.125, 0.25}));
    EXPECT_TRUE(lines[1]["face"].is_null());
}

} // namespace
} // namespace lanternfly
