#include "app/inspect/InspectReport.h"

#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/LogCapture.h"
#include "support/TrackSet.h"

namespace lanternfly {
namespace {

using testing::HasSubstr;
using testing::Not;

// The data that the page carries.
nlohmann::json dataOf(const std::string& page) {
    const std::string opening = R"(id="data">)";
    const size_t from = page.find(opening) + opening.size();
    return nlohmann::json::parse(page.substr(from, page.find("</script>", from) - from));
}

struct InspectReport : testing::Test {
    const test::LogCapture quiet{LogLevel::error};
};

TEST_F(InspectReport, CarriesEveryFrameAndEventAndRemark) {
    const auto timeline = test::timelineOfSet("pair_half");
    const auto remarks = remarksOn(timeline);
    const auto data = dataOf(inspectReport("pair_half.jsonl", timeline, remarks));
    const size_t count = timeline.frames.size();
    for (const char* column : {"time", "looked", "smoothed", "phase", "pair", "targetX", "targetY",
                               "x", "y", "scale", "detection", "latency"})
        EXPECT_EQ(data.at(column).size(), count) << column;
    EXPECT_EQ(data["hands"].size(), 2u);
    EXPECT_EQ(data["hands"]["left"]["ratio"].size(), count);
    EXPECT_NEAR(data["hands"]["left"]["ratio"][15].get<double>(), 0.5, 0.01);
    EXPECT_EQ(data["events"].size(), 2u);
    EXPECT_EQ(data["events"][0]["name"], "pinch began");
    EXPECT_EQ(data["remarks"].size(), remarks.size());
    EXPECT_EQ(data["expected"].size(), 2u);
    EXPECT_THAT(data["verdict"].get<std::string>(), HasSubstr("2 of 2 expected events"));
    EXPECT_TRUE(data["detection"][0].is_null()) << "not known";
}

TEST_F(InspectReport, NeedsNothingButItself) {
    const std::string page = inspectReport("pinch", test::timelineOfSet("pinch"), {});
    for (size_t at = 0; (at = page.find("http", at)) != std::string::npos; ++at)
        EXPECT_EQ(page.compare(at, 26, "http://www.w3.org/2000/svg"), 0) << page.substr(at, 60);
    EXPECT_THAT(page, Not(HasSubstr("src=")));
    EXPECT_THAT(page, Not(HasSubstr("<link")));
    EXPECT_THAT(page, Not(HasSubstr("%DATA%")));
}

TEST_F(InspectReport, NoNameOrTextGetsOutOfItsPlace) {
    auto timeline = test::timelineOfSet("pinch");
    const std::string evil = "</script><script>alert(1)</script><!-- %DATA% \xff";
    timeline.header.about = evil;
    const std::string page = inspectReport(evil, timeline, std::vector<Remark>{{0, 1, evil}});
    EXPECT_THAT(page, Not(HasSubstr("<script>alert")));
    EXPECT_THAT(dataOf(page)["name"].get<std::string>(), HasSubstr("</script><script>alert(1)"));
}

TEST_F(InspectReport, WhatIsNoNumberIsLeftOut) {
    GestureTimeline timeline;
    timeline.frames.push_back({.scale = NAN});
    const auto data = dataOf(inspectReport("odd", timeline, {}));
    EXPECT_TRUE(data["scale"][0].is_null());
    EXPECT_FALSE(data.contains("expected"));
}

TEST_F(InspectReport, TheSummaryCountsWhatHappened) {
    EXPECT_EQ(inspectSummary(test::timelineOfSet("pair")),
              "1 pinch, 1 pinch of both hands and 0 peace signs in 1.7 s, 53 frames");
    EXPECT_EQ(inspectSummary({}),
              "0 pinches, 0 pinches of both hands and 0 peace signs in 0.0 s, 0 frames");
}

} // namespace
} // namespace lanternfly
