// `lanternfly cameras` as a user runs it, on a machine whose cameras are played.
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/MockVideoNode.h"
#include "support/Shell.h"

namespace lanternfly::test {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const std::string program = LANTERNFLY_PROGRAM;

class CamerasCommandTest : public testing::Test {
protected:
    void SetUp() override {
        if (!MockMachine::isAvailable()) GTEST_SKIP() << "umockdev is not preloaded: use ctest";
        machine = std::make_unique<MockMachine>();
    }
    void plug(MockVideoNode::Description description) {
        nodes.push_back(std::make_unique<MockVideoNode>(*machine, std::move(description)));
        nodes.back()->plug();
    }
    void plugTwo() {
        plug({.number = 0,
              .card = "Desk Camera",
              .byId = "usb-Desk-video-index0",
              .modes = {{V4L2_PIX_FMT_YUYV, 640, 480, {{1, 30}}},
                        {V4L2_PIX_FMT_MJPEG, 1920, 1080, {{1, 30}, {1, 15}}}}});
        plug({.number = 1,
              .card = "Lid Camera",
              .removable = "fixed",
              .byId = "usb-Lid-video-index0",
              .modes = {{V4L2_PIX_FMT_YUYV, 1280, 720, {{1001, 30000}}}}});
    }

    std::unique_ptr<MockMachine> machine;
    std::vector<std::unique_ptr<MockVideoNode>> nodes;
};

TEST_F(CamerasCommandTest, ShowsATableBuiltInCamerasFirst) {
    plugTwo();
    const auto run = shell(program + " cameras");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output,
              "NAME         ID                     KIND      TRANSPORT  FORMATS\n"
              "Lid Camera   usb-Lid-video-index0   builtIn   builtIn    1280x720@30 YUYV\n"
              "Desk Camera  usb-Desk-video-index0  external  usb        1920x1080@30 MJPG and 1 "
              "more\n");
}

TEST_F(CamerasCommandTest, PrintsEverythingAsJson) {
    plugTwo();
    const auto run = shell(program + " cameras --json");
    EXPECT_EQ(run.exitCode, 0);
    const auto list = nlohmann::json::parse(run.output);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[1]["id"], "usb-Desk-video-index0");
    EXPECT_EQ(list[1]["name"], "Desk Camera");
    EXPECT_EQ(list[1]["kind"], "external");
    EXPECT_EQ(list[1]["transport"], "usb");
    EXPECT_EQ(list[1]["formats"][1]["encoding"], "MJPG");
    EXPECT_EQ(list[1]["formats"][1]["width"], 1920);
    EXPECT_EQ(list[1]["formats"][1]["framesPerSecond"][1]["maximum"], 15);
}

TEST_F(CamerasCommandTest, WithoutACameraItSaysWhatToDo) {
    const auto table = shell(program + " cameras");
    EXPECT_EQ(table.exitCode, 0);
    EXPECT_THAT(table.output, StartsWith("no camera found; plug one in"));
    const auto json = shell(program + " cameras --json");
    EXPECT_EQ(nlohmann::json::parse(json.output), nlohmann::json::array());
}

TEST_F(CamerasCommandTest, WithoutPermissionItSaysWhatToDo) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    plugTwo();
    for (const auto& node : nodes)
        node->deny();
    const auto run =
        shell("setpriv --reuid 65534 --regid 65534 --clear-groups " + program + " cameras");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.output,
              "lanternfly: there are cameras, but no permission to use them: add yourself to the "
              "group \"video\" (sudo usermod -aG video $USER) and log in again\n");
}

TEST_F(CamerasCommandTest, ANameThatIsNoTextDoesNotBreakTheOutput) {
    plug({.card = "Caf\xe9 \x1b[31m"});
    const auto run = shell(program + " cameras --json");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(nlohmann::json::parse(run.output)[0]["name"], "Caf\xef\xbf\xbd  [31m");
    EXPECT_THAT(shell(program + " cameras").output, Not(HasSubstr("\x1b")));
}

} // namespace
} // namespace lanternfly::test
