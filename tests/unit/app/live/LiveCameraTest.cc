#include "app/live/LiveCamera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/fake/ScriptedCameras.h"
#include "support/LogCapture.h"
#include "support/LoopRunner.h"

namespace lanternfly {
namespace {

using State = CameraStatus::State;
using testing::HasSubstr;

struct LiveCameraTest : testing::Test {
    test::LogCapture log;
    ManualClock clock;
    std::shared_ptr<EventLoop> loop = std::make_shared<EventLoop>();
    std::shared_ptr<ScriptedCameras> cameras = std::make_shared<ScriptedCameras>();
    std::atomic<int> frames{0};
    std::vector<CameraStatus> told;
    std::unique_ptr<LiveCamera> camera;

    void start(std::optional<std::string> wished = std::nullopt) {
        camera = std::make_unique<LiveCamera>(
            LiveCamera::Setup{.source = {cameras, std::move(wished)},
                              .loop = *loop,
                              .executor = [loop = loop](Task task) { loop->post(std::move(task)); },
                              .onFrame = [this](const PixelBufferRef&, MediaTime) { ++frames; },
                              .onChange = [this] { told.push_back(camera->status()); },
                              .clock = clock});
    }
    // A frame now and then, while the program's time goes on.
    bool comesTo(State state, bool sendsFrames = false) {
        return comesTo([&] { return camera->status().state == state; }, sendsFrames);
    }
    bool comesToAProblem() {
        return comesTo([&] { return !camera->status().problem.empty(); });
    }
    bool comesTo(const std::function<bool()>& condition, bool sendsFrames = false) {
        return test::runUntil(*loop, [&] {
            clock.advance(0.5);
            if (sendsFrames)
                cameras->sendFrame(MediaTime::fromNanos(static_cast<int64_t>(clock.uptimeNanos())));
            cameras->settle();
            return condition();
        });
    }
};

TEST_F(LiveCameraTest, ACameraThatSendsIsNamed) {
    cameras->attach({.uniqueID = "desk", .localizedName = "Desk Camera"});
    start();
    ASSERT_TRUE(comesTo(State::sending, true));
    EXPECT_EQ(camera->status().name, "Desk Camera");
    EXPECT_EQ(camera->status().problem, "");
    EXPECT_EQ(camera->currentID(), "desk");
    EXPECT_GT(frames, 0);
}

TEST_F(LiveCameraTest, WithoutACameraItSaysWhatToDoAndTakesTheFirstThatComes) {
    start();
    ASSERT_TRUE(comesTo(State::none));
    EXPECT_THAT(camera->status().problem, HasSubstr("plug one in"));
    cameras->attach({.uniqueID = "desk", .localizedName = "Desk Camera"});
    ASSERT_TRUE(comesTo(State::sending, true));
    EXPECT_EQ(camera->status().name, "Desk Camera");
    EXPECT_EQ(camera->status().problem, "");
}

TEST_F(LiveCameraTest, WithoutPermissionItSaysHowToGetIt) {
    cameras->attach({.uniqueID = "desk"});
    cameras->change([](auto& script) { script.authorization = CameraAuthorization::denied; });
    start();
    ASSERT_TRUE(comesTo(State::none));
    EXPECT_EQ(camera->status().problem, cameraPermissionHelp);
    cameras->change([](auto& script) { script.authorization = CameraAuthorization::authorized; });
    EXPECT_TRUE(comesTo(State::sending, true));
}

TEST_F(LiveCameraTest, ACameraThatCannotBeOpenedTellsWhyAndIsTriedAgain) {
    cameras->attach({.uniqueID = "desk",
                     .localizedName = "Desk Camera",
                     .inputFailure = "Desk Camera is in use by another program; close it there"});
    start();
    ASSERT_TRUE(comesTo(State::silent));
    EXPECT_EQ(camera->status().problem, "Desk Camera is in use by another program; close it there");
    cameras->detach("desk");
    cameras->attach({.uniqueID = "desk", .localizedName = "Desk Camera"});
    ASSERT_TRUE(comesTo(State::sending, true));
    EXPECT_EQ(camera->status().problem, "");
}

TEST_F(LiveCameraTest, AnUnpluggedCameraIsGoneUntilItIsBack) {
    cameras->attach({.uniqueID = "desk", .localizedName = "Desk Camera"});
    start();
    ASSERT_TRUE(comesTo(State::sending, true));
    cameras->detach("desk");
    ASSERT_TRUE(comesTo(State::gone));
    EXPECT_EQ(camera->status().name, "Desk Camera");
    EXPECT_THAT(camera->status().problem, HasSubstr("Desk Camera is gone; plug it in again"));
}

TEST_F(LiveCameraTest, WhenTheOnlyCameraIsGoneAnotherOneThatComesIsTaken) {
    cameras->attach({.uniqueID = "desk", .localizedName = "Desk Camera"});
    start();
    ASSERT_TRUE(comesTo(State::sending, true));
    cameras->detach("desk");
    ASSERT_TRUE(comesTo(State::gone));
    cameras->attach({.uniqueID = "lid", .localizedName = "Lid Camera"});
    ASSERT_TRUE(comesTo(State::sending, true));
    EXPECT_EQ(camera->status().name, "Lid Camera");
}

TEST_F(LiveCameraTest, AWishedCameraThatIsNotThereIsNamedWhileAnotherStandsIn) {
    cameras->attach({.uniqueID = "lid", .localizedName = "Lid Camera"});
    start("desk");
    ASSERT_TRUE(comesTo(State::sending, true));
    EXPECT_EQ(camera->status().name, "Lid Camera");
    EXPECT_THAT(camera->status().problem, HasSubstr("desk is not attached"));
    cameras->attach({.uniqueID = "desk", .localizedName = "Desk Camera"});
    ASSERT_TRUE(test::runUntil(*loop, [&] { return camera->status().name == "Desk Camera"; }));
    EXPECT_EQ(camera->status().problem, "");
}

TEST_F(LiveCameraTest, ACameraThatIsWishedByItsNameIsTakenWhenItComes) {
    cameras->attach({.uniqueID = "lid", .localizedName = "Lid Camera"});
    start("Desk Camera");
    ASSERT_TRUE(comesTo(State::sending, true));
    EXPECT_EQ(camera->currentID(), "lid");
    EXPECT_THAT(camera->status().problem, HasSubstr("Desk Camera is not attached"));
    cameras->attach({.uniqueID = "desk", .localizedName = "Desk Camera"});
    EXPECT_TRUE(comesTo([&] { return camera->currentID() == "desk"; }, true));
    EXPECT_EQ(camera->status().problem, "");
}

TEST_F(LiveCameraTest, ACameraThatIsWishedByItsNameAndComesAloneIsNoStandIn) {
    start("Desk Camera");
    ASSERT_TRUE(comesTo(State::none));
    cameras->attach({.uniqueID = "desk", .localizedName = "Desk Camera"});
    ASSERT_TRUE(comesTo(State::sending, true));
    EXPECT_EQ(camera->currentID(), "desk");
    EXPECT_EQ(camera->status().problem, "");
}

TEST_F(LiveCameraTest, ACameraThatFallsSilentIsToldFromOneThatIsGone) {
    cameras->attach({.uniqueID = "desk", .localizedName = "Desk Camera"});
    start();
    ASSERT_TRUE(comesTo(State::sending, true));
    ASSERT_TRUE(comesTo(State::silent));
    ASSERT_TRUE(comesToAProblem());
    EXPECT_THAT(camera->status().problem, HasSubstr("Desk Camera sends no pictures"));
    EXPECT_TRUE(comesTo(State::sending, true));
    EXPECT_EQ(camera->status().problem, "");
}

TEST_F(LiveCameraTest, AfterTheMachineSleptItSendsAgain) {
    cameras->attach({.uniqueID = "desk", .localizedName = "Desk Camera"});
    start();
    ASSERT_TRUE(comesTo(State::sending, true));
    clock.advance(8 * 3600);
    ASSERT_TRUE(comesTo(State::sending, true));
    EXPECT_EQ(camera->status().problem, "");
    EXPECT_EQ(camera->currentID(), "desk");
}

TEST_F(LiveCameraTest, AnotherCameraIsTakenByItsNameOrIdentifier) {
    cameras->attach({.uniqueID = "desk", .localizedName = "Desk Camera"});
    cameras->attach({.uniqueID = "lid", .localizedName = "Lid Camera"});
    start("desk");
    ASSERT_TRUE(comesTo(State::sending, true));
    EXPECT_TRUE(camera->useAttached("Lid Camera"));
    EXPECT_TRUE(test::runUntil(*loop, [&] { return camera->currentID() == "lid"; }));
    EXPECT_TRUE(camera->useAttached("desk"));
    EXPECT_TRUE(test::runUntil(*loop, [&] { return camera->currentID() == "desk"; }));
    EXPECT_FALSE(camera->useAttached("no such camera"));
    EXPECT_TRUE(comesTo(State::sending, true));
    EXPECT_EQ(camera->currentID(), "desk");
}

TEST_F(LiveCameraTest, AnOpenCameraThatFailsTellsItsOwnReason) {
    cameras->attach({.uniqueID = "desk", .localizedName = "Desk Camera"});
    start();
    ASSERT_TRUE(comesTo(State::sending, true));
    const std::string reason = "Desk Camera is in use by another program; close it there";
    cameras->change([&](auto& script) { script.problem = reason; });
    ASSERT_TRUE(comesToAProblem());
    EXPECT_EQ(camera->status().state, State::silent);
    EXPECT_EQ(camera->status().problem, reason);
    cameras->change([](auto& script) { script.problem.clear(); });
    EXPECT_TRUE(comesTo(State::sending, true));
    EXPECT_EQ(camera->status().problem, "");
}

TEST_F(LiveCameraTest, NoFrameComesOnceItIsGone) {
    cameras->attach({.uniqueID = "desk"});
    start();
    ASSERT_TRUE(comesTo(State::sending, true));
    camera.reset();
    const int before = frames;
    cameras->sendFrame(MediaTime::make(1, 1));
    cameras->settle();
    EXPECT_EQ(frames, before);
}

} // namespace
} // namespace lanternfly
