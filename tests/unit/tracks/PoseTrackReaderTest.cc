#include "tracks/PoseTrackReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Hands.h"
#include "support/TemporaryFolder.h"
#include "support/Tracks.h"

namespace lanternfly {
namespace {

using test::plainHeader;
using test::trackFrom;
using testing::HasSubstr;
using testing::StartsWith;
using Kind = PoseTrackError::Kind;

std::string headerWith(const std::string& more) {
    return std::string(plainHeader, std::string(plainHeader).size() - 1) + "," + more + "}\n";
}
std::string withLine(const std::string& line) {
    return std::string(plainHeader) + "\n" + line + "\n";
}
std::string handWith(const std::string& wrist, const std::string& chirality = "right") {
    std::string hand =
        R"({"chirality":")" + chirality + R"(","confidence":0.5,"landmarks":[)" + wrist;
    for (size_t i = 1; i < handLandmarkCount; ++i)
        hand += ",null";
    return hand + "]}";
}

TEST(PoseTrackReader, ReadsTheHeaderAndEveryFrame) {
    const auto track =
        trackFrom(headerWith(R"("about":"a hand","expected":[)"
                             R"({"event":"two-hand began","time":1.5,"frames":3}])") +
                  R"({"time":0,"hands":[]})"
                  "\n"
                  R"({"time":0.033333333,"detectionMs":12.5,"latencyMs":20,"hands":[)" +
                  handWith("[0.25,-0.5,0.75]") + "," + handWith("null", "unknown") + "]}\n" +
                  R"({"time":0.1})"
                  "\n");
    EXPECT_EQ(track.header,
              (PoseTrackHeader{.widthPX = 1280,
                               .heightPX = 720,
                               .frameRate = 30,
                               .about = "a hand",
                               .expected = {{{GestureEvent::twoHandBegan, 1.5, 3}}}}));
    ASSERT_EQ(track.frames.size(), 3u);
    EXPECT_EQ(track.frames[0], (PoseTrackFrame{.seconds = 0}));
    const auto& frame = track.frames[1];
    EXPECT_TRUE(frame.isLookedAt);
    EXPECT_EQ(frame.detectionMs, 12.5);
    EXPECT_EQ(frame.latencyMs, 20);
    ASSERT_EQ(frame.poses.size(), 2u);
    EXPECT_EQ(frame.poses[0].chirality, HandPose::Chirality::right);
    EXPECT_EQ(frame.poses[0].averageConfidence, 0.5f);
    EXPECT_EQ(frame.poses[0].pts, MediaTime::fromNanos(33'333'333));
    EXPECT_EQ(frame.poses[0].detectionDurationNanos, 12'500'000u);
    EXPECT_EQ(frame.poses[0].landmarks.count(), 1u);
    EXPECT_EQ(test::jointOf(frame.poses[0], HandLandmark::wrist),
              (HandPose::Point{0.25f, -0.5f, 0.75f}));
    EXPECT_EQ(frame.poses[1].chirality, HandPose::Chirality::unknown);
    EXPECT_EQ(frame.poses[1].landmarks.count(), 0u);
    EXPECT_FALSE(track.frames[2].isLookedAt) << "without hands nobody has looked";
    EXPECT_EQ(track.note, "");
}

TEST(PoseTrackReader, AnEmptyExpectationIsNotTheSameAsNone) {
    EXPECT_FALSE(trackFrom(withLine(R"({"time":0})")).header.expected);
    EXPECT_TRUE(trackFrom(headerWith(R"("expected":[])")).header.expected);
}

TEST(PoseTrackReader, UnknownKeysOfThisVersionAreLeftAlone) {
    EXPECT_EQ(trackFrom(headerWith(R"("camera":"front")") + R"({"time":0,"note":1})"
                                                            "\n")
                  .frames.size(),
              1u);
}

TEST(PoseTrackReader, ACutLastLineIsLeftOutWithANote) {
    const std::string whole = withLine(R"({"time":0,"hands":[]})");
    const std::string last = R"({"time":0.1,"hands":[]})";
    for (size_t length = 1; length < last.size(); ++length) {
        const auto track = trackFrom(whole + last.substr(0, length));
        EXPECT_EQ(track.frames.size(), 1u) << length;
        EXPECT_EQ(track.note, "talk.poses:3: the last line is cut off and left out");
    }
    const auto complete = trackFrom(whole + last);
    EXPECT_EQ(complete.frames.size(), 2u) << "only the end of the line is missing";
    EXPECT_EQ(complete.note, "");
}

TEST(PoseTrackReader, LinesMayEndAsOnOtherSystems) {
    EXPECT_EQ(trackFrom(std::string(plainHeader) + "\r\n{\"time\":0}\r\n").frames.size(), 1u);
}

struct Refusal {
    const char* name;
    std::string text;
    Kind kind;
    std::string said;
};
void PrintTo(const Refusal& refusal, std::ostream* out) {
    *out << refusal.name;
}

class PoseTrackRefusals : public testing::TestWithParam<Refusal> {};

TEST_P(PoseTrackRefusals, NameTheFileTheLineAndTheFault) {
    try {
        trackFrom(GetParam().text);
        FAIL() << "it was read";
    } catch (const PoseTrackError& error) {
        EXPECT_EQ(error.kind, GetParam().kind);
        EXPECT_THAT(error.what(), StartsWith("talk.poses:"));
        EXPECT_THAT(error.what(), HasSubstr(GetParam().said));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Faults, PoseTrackRefusals,
    testing::Values(
        Refusal{"Empty", "", Kind::notATrack, ":1: this file is empty"},
        Refusal{"NoJson", "hello\n", Kind::notATrack, ":1: this is no pose track"},
        Refusal{"OtherJson", "{\"type\":\"hands\"}\n", Kind::notATrack,
                ":1: this is no pose track"},
        Refusal{"LaterVersion",
                R"({"lanternfly":"poses","version":2,"width":1,"height":1,"frameRate":30})",
                Kind::otherVersion, "of version 2, and this program reads version 1"},
        Refusal{"NoVersion", R"({"lanternfly":"poses"})", Kind::otherVersion, "version ?"},
        Refusal{"NoSize", R"({"lanternfly":"poses","version":1,"height":1,"frameRate":30})",
                Kind::malformed, ":1: \"width\" must be a number from 1 to 16384"},
        Refusal{"NoRate",
                R"({"lanternfly":"poses","version":1,"width":1,"height":1,"frameRate":0})",
                Kind::malformed, "\"frameRate\" must be a number from 1 to 1000"},
        Refusal{"AboutANumber", headerWith(R"("about":3)"), Kind::malformed, "\"about\""},
        Refusal{"UnknownEvent", headerWith(R"("expected":[{"event":"wave","time":1,"frames":1}])"),
                Kind::malformed, "pinch began, pinch ended"},
        Refusal{"EventWithoutTime", headerWith(R"("expected":[{"event":"peace sign","frames":1}])"),
                Kind::malformed, "\"time\""},
        Refusal{"EventsNoList", headerWith(R"("expected":{})"), Kind::malformed, "\"expected\""},
        Refusal{"BadLine", withLine("{\"time\":0") + "{\"time\":1}\n", Kind::malformed,
                ":2: this is no line of JSON"},
        Refusal{"BadLastLineWithAnEnd", withLine("{\"time\":0"), Kind::malformed, ":2: "},
        Refusal{"EmptyLine", withLine(""), Kind::malformed, ":2: "},
        Refusal{"AList", withLine("[0]"), Kind::malformed, "one object in braces"},
        Refusal{"NoTime", withLine("{\"hands\":[]}"), Kind::malformed, "\"time\""},
        Refusal{"NegativeTime", withLine("{\"time\":-0.1}"), Kind::malformed, "\"time\""},
        Refusal{"TimeBeyondAll", withLine("{\"time\":1e400}"), Kind::malformed, ":2: "},
        Refusal{"TimeStandsStill", withLine("{\"time\":1}\n{\"time\":1}"), Kind::malformed,
                ":3: \"time\" must rise: 1 does not come after 1"},
        Refusal{"HandsNoList", withLine("{\"time\":0,\"hands\":3}"), Kind::malformed, "\"hands\""},
        Refusal{"TooManyHands", withLine("{\"time\":0,\"hands\":[0,0,0,0,0,0,0,0,0]}"),
                Kind::malformed, "a list of at most 8"},
        Refusal{"AHandNoObject", withLine("{\"time\":0,\"hands\":[3]}"), Kind::malformed, "a hand"},
        Refusal{"UnknownSide",
                withLine("{\"time\":0,\"hands\":[" + handWith("null", "both") + "]}"),
                Kind::malformed, "left, right or unknown"},
        Refusal{
            "TooFewLandmarks",
            withLine(R"({"time":0,"hands":[{"chirality":"left","confidence":1,"landmarks":[]}]})"),
            Kind::malformed, "21 \"landmarks\""},
        Refusal{"ShortLandmark", withLine("{\"time\":0,\"hands\":[" + handWith("[0.1,0.2]") + "]}"),
                Kind::malformed, "[x, y, confidence]"},
        Refusal{"LandmarkFarAway", withLine("{\"time\":0,\"hands\":[" + handWith("[9,0,1]") + "]}"),
                Kind::malformed, "\"x\" must be a number from -8 to 8"},
        Refusal{"ConfidenceAboveOne",
                withLine("{\"time\":0,\"hands\":[" + handWith("[0,0,1.5]") + "]}"), Kind::malformed,
                "\"confidence\""},
        Refusal{"ATower", withLine(std::string(10'000, '[')), Kind::malformed, ":2: "},
        Refusal{"AnEndlessLine", withLine("{\"time\":0}" + std::string(70'000, ' ')),
                Kind::malformed, ":2: this line is longer than 65536 bytes"}),
    [](const auto& test) { return test.param.name; });

TEST(PoseTrackReader, WhatIsNoFileIsNamed) {
    const test::TemporaryFolder folder;
    const auto kindOf = [](const std::filesystem::path& file) {
        try {
            PoseTrackReader reader(file);
        } catch (const PoseTrackError& error) {
            EXPECT_THAT(error.what(), StartsWith(file.string()));
            return error.kind;
        }
        return Kind::tooLong;
    };
    EXPECT_EQ(kindOf(folder / "absent"), Kind::notFound);
    EXPECT_EQ(kindOf(folder.path()), Kind::notATrack);
}

} // namespace
} // namespace lanternfly
