#include "app/live/LiveStatus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace lanternfly {
namespace {

using testing::HasSubstr;
using testing::Not;

LiveStatus drawingOnPageTwo() {
    LiveStatus status;
    status.camera = {CameraStatus::State::sending, "Desk Camera", ""};
    status.outputs = {{"virtual camera", {}}};
    status.page = 2;
    status.pageCount = 6;
    status.mode = HostMode::drawing;
    return status;
}

TEST(LiveStatusTest, TheLineTellsWhatAUserLooksFor) {
    LiveStatus status = drawingOnPageTwo();
    EXPECT_THAT(statusLine(status), HasSubstr("Desk Camera | 0.0 fps"));
    EXPECT_THAT(statusLine(status), HasSubstr("| drawing | page 2 of 6 | virtual camera "));
    status.mode = HostMode::slide;
    EXPECT_THAT(statusLine(status), Not(HasSubstr("slide"))) << "the usual mode is not told";
    status.camera = {CameraStatus::State::gone, "Desk Camera", "plug it in again"};
    EXPECT_THAT(statusLine(status), HasSubstr("camera gone: Desk Camera"));
}

TEST(LiveStatusTest, JsonTellsItAll) {
    const auto json = nlohmann::json::parse(statusJson(drawingOnPageTwo()));
    EXPECT_EQ(json["mode"], "drawing");
    EXPECT_EQ(json["page"], 2);
    EXPECT_EQ(json["camera"]["state"], "sending");
    EXPECT_EQ(json["outputs"][0]["name"], "virtual camera");
    EXPECT_TRUE(json["firstFrameMs"].is_null());
}

TEST(LiveStatusTest, NamesThatAreNoTextStayReadable) {
    LiveStatus status = drawingOnPageTwo();
    status.camera.name = "Cam\xff";
    EXPECT_EQ(nlohmann::json::parse(statusJson(status))["camera"]["name"], "Cam\ufffd");
}

} // namespace
} // namespace lanternfly
