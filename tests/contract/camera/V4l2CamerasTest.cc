// What only video nodes do: other formats, damaged frames, cameras that freeze, vanish or refuse.
#include <cerrno>
#include <memory>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "base/Clock.h"
#include "capture/CameraChoice.h"
#include "capture/CameraFeed.h"
#include "platform/linux/camera/LinuxCameras.h"
#include "platform/linux/v4l2/V4l2Cameras.h"
#include "support/CameraFrames.h"
#include "support/ChangeCollector.h"
#include "support/FrameCollector.h"
#include "support/LogCapture.h"
#include "support/MockVideoNode.h"
#include "support/Pictures.h"

namespace lanternfly::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Mode = MockVideoNode::Mode;

class V4l2CamerasTest : public testing::Test {
protected:
    void SetUp() override {
        if (!MockMachine::isAvailable()) GTEST_SKIP() << "umockdev is not preloaded: use ctest";
        machine = std::make_unique<MockMachine>();
    }
    void TearDown() override {
        session = nullptr;
        running = nullptr;
        cameras = nullptr;
    }
    // Made when first asked for: its monitor would look at what is plugged in until then at the
    // same time, for which umockdev is not made.
    LinuxCameras& platform() {
        if (cameras) return *cameras;
        std::vector<std::unique_ptr<CameraBackend>> backends;
        // Milliseconds, so that a frozen camera is soon noticed.
        backends.push_back(std::make_unique<v4l2::V4l2Cameras>(
            v4l2::Patience{500'000'000, 50'000'000, 10'000'000}));
        cameras = std::make_shared<LinuxCameras>(std::move(backends));
        return *cameras;
    }

    MockVideoNode& plug(MockVideoNode::Description description) {
        nodes.push_back(std::make_unique<MockVideoNode>(*machine, std::move(description)));
        nodes.back()->plug();
        return *nodes.back();
    }
    std::vector<CameraDeviceRef> listed() { return platform().devices(cameraTypesByPriority); }
    // A running session of the first camera in the format of this index.
    void run(size_t format = 0) {
        const auto camera = listed().front();
        const auto lock = camera->lockForConfiguration();
        lock->setActiveFormat(format);
        lock->setFrameDurations(MediaTime::make(1, 30), MediaTime::make(1, 30));
        auto output = std::make_shared<CameraOutput>();
        output->queue = queue;
        output->handler = [&](const CameraSample& sample) {
            frames.add(sample.buffer, sample.pts);
        };
        session = platform().makeSession();
        session->beginConfiguration();
        running = platform().makeInput(camera);
        ASSERT_TRUE(session->canAddInput(running));
        session->addInput(running);
        session->addOutput(output);
        session->commitConfiguration();
        session->startRunning();
    }
    bool moreFramesCome() { return frames.waitFor(frames.count() + 3); }

    LogCapture log;
    const std::shared_ptr<SerialQueue> queue = std::make_shared<SerialQueue>("test.delivery");
    FrameCollector frames;
    std::unique_ptr<MockMachine> machine;
    std::vector<std::unique_ptr<MockVideoNode>> nodes;
    std::shared_ptr<LinuxCameras> cameras;
    std::unique_ptr<CameraSession> session;
    CameraInputRef running; // in the session
};

TEST_F(V4l2CamerasTest, WithoutNodesThereAreNoCameras) {
    EXPECT_THAT(listed(), IsEmpty());
    EXPECT_EQ(platform().authorization(), CameraAuthorization::authorized);
}

TEST_F(V4l2CamerasTest, DescribesWhatIsAttachedAndHow) {
    plug({.number = 2, .card = "Lid Camera: Lid Cam", .removable = "fixed", .byId = "usb-Lid"});
    plug({.number = 10, .card = "Desk", .byId = "usb-Desk"});
    plug({.number = 3,
          .card = "Lanternfly",
          .driver = "v4l2 loopback",
          .removable = "",
          .byId = ""});
    const auto found = listed();
    ASSERT_EQ(found.size(), 3u);
    EXPECT_EQ(found[0]->localizedName(), "Lid Camera");
    EXPECT_EQ(found[0]->uniqueID(), "usb-Lid");
    EXPECT_EQ(found[0]->type(), CameraDeviceType::builtInWideAngleCamera);
    EXPECT_EQ(found[0]->transportType(), CameraTransportType::builtIn);
    EXPECT_EQ(found[0]->manufacturer(), "Mock");
    EXPECT_EQ(found[1]->transportType(), CameraTransportType::virtualDevice);
    EXPECT_EQ(found[2]->uniqueID(), "usb-Desk");
    EXPECT_EQ(found[2]->transportType(), CameraTransportType::usb);
    // Our own virtual camera is there, and is not offered.
    EXPECT_EQ(CameraFeed::discover(platform()).size(), 2u);
}

TEST_F(V4l2CamerasTest, NodesThatGiveNoColourPicturesAreNoCameras) {
    plug({.number = 0, .modes = {Mode{V4L2_PIX_FMT_GREY}}});
    plug({.number = 1, .byId = "meta", .capabilities = V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING});
    plug({.number = 2,
          .byId = "output",
          .capabilities = V4L2_CAP_VIDEO_OUTPUT | V4L2_CAP_STREAMING});
    EXPECT_THAT(listed(), IsEmpty());
}

TEST_F(V4l2CamerasTest, ListsFormatsAndRates) {
    plug({.modes = {Mode{V4L2_PIX_FMT_MJPEG, 1920, 1080, {{1, 30}, {1, 15}}},
                    Mode{V4L2_PIX_FMT_YUYV, 640, 480, {{333333, 10000000}}},
                    Mode{V4L2_PIX_FMT_YUYV, 1920, 1080, {{1, 5}}}}});
    EXPECT_THAT(listed().front()->formats(),
                ElementsAre(CameraFormat{640, 480, {{30, 30}}, false, "YUYV"},
                            CameraFormat{1920, 1080, {{5, 5}}, false, "YUYV"},
                            CameraFormat{1920, 1080, {{30, 30}, {15, 15}}, false, "MJPG"}));
    EXPECT_EQ(chooseFormat(listed().front()->formats()), 2u);
}

TEST_F(V4l2CamerasTest, PlainFramesKeepTheirColours) {
    auto& node = plug({});
    node.setFrame(plainFrame({FrameEncoding::yuyv, 64, 48, 128, {}}, 200, 60, 30));
    run();
    ASSERT_TRUE(moreFramesCome());
    const auto picture = frames.frames()[1].buffer;
    EXPECT_NEAR(picture->row(20)[4 * 30], 30, 3);
    EXPECT_NEAR(picture->row(20)[4 * 30 + 1], 60, 3);
    EXPECT_NEAR(picture->row(20)[4 * 30 + 2], 200, 3);
    EXPECT_EQ(node.lastInterval().numerator, 1u);
    EXPECT_EQ(node.lastInterval().denominator, 30u);
}

TEST_F(V4l2CamerasTest, JpegFramesBecomeTheirPicture) {
    auto& node = plug({.modes = {Mode{V4L2_PIX_FMT_MJPEG, 320, 180}}});
    const auto scene = cameraScene(320, 180, 1, 1);
    node.setFrame(jpegFrame(*scene, {.hasHuffmanTables = false}));
    run();
    ASSERT_TRUE(moreFramesCome());
    EXPECT_GT(difference(*scene, *frames.frames()[1].buffer).psnr(), 30);
}

TEST_F(V4l2CamerasTest, TimesAreOurOwnThoughTheDriverLies) {
    plug({});
    const double before = SystemClock::shared().uptimeSeconds();
    run();
    ASSERT_TRUE(moreFramesCome());
    for (const MediaTime& time : frames.times()) {
        EXPECT_GE(time.seconds(), before);
        EXPECT_LE(time.seconds(), SystemClock::shared().uptimeSeconds());
    }
}

TEST_F(V4l2CamerasTest, DamagedFramesAreLeftOutAndThenTheCameraIsRestarted) {
    auto& node = plug({.modes = {Mode{V4L2_PIX_FMT_MJPEG, 320, 180}}});
    const auto whole = jpegFrame(*cameraScene(320, 180));
    node.setFrame(whole);
    run();
    ASSERT_TRUE(moreFramesCome());
    node.setFrame({0xff, 0xd8, 0xff, 0xdb});
    const int starts = node.streamOns();
    ASSERT_TRUE(node.waitForStreamOns(starts + 1));
    EXPECT_TRUE(log.contains("Mock Webcam sends no pictures; unplug it and plug it in again if it "
                             "does not recover"));
    node.setFrame(whole);
    EXPECT_TRUE(moreFramesCome());
    EXPECT_TRUE(log.contains("Mock Webcam sends pictures again"));
}

TEST_F(V4l2CamerasTest, AFrozenCameraIsRestartedAndReportedOnce) {
    auto& node = plug({});
    run();
    ASSERT_TRUE(moreFramesCome());
    node.setSilent(true);
    const int starts = node.streamOns();
    ASSERT_TRUE(node.waitForStreamOns(starts + 2));
    const std::string problem =
        "Mock Webcam sends no pictures; unplug it and plug it in again if it does not recover";
    EXPECT_EQ(running->problem(), problem);
    node.setSilent(false);
    EXPECT_TRUE(moreFramesCome());
    EXPECT_EQ(log.count(problem), 1u);
    EXPECT_EQ(running->problem(), "");
}

TEST_F(V4l2CamerasTest, ACameraPulledOutInMidStreamIsGoneAndComesBack) {
    auto& node = plug({});
    run();
    ASSERT_TRUE(moreFramesCome());
    ChangeCollector changes;
    const auto observation =
        platform().observe([&](const CameraChange& change) { changes.add(change); });
    node.pullOutUnnoticed(); // the stream finds out
    ASSERT_TRUE(changes.waitFor(1));
    EXPECT_EQ(changes.changes()[0].kind, CameraChange::Kind::disconnected);
    EXPECT_EQ(changes.changes()[0].uniqueID, "usb-Mock_Webcam_0001-video-index0");
    EXPECT_THAT(listed(), IsEmpty());

    node.unplug(); // now udev knows, too
    node.plug();
    ASSERT_TRUE(changes.waitFor(2));
    EXPECT_EQ(changes.changes()[1].kind, CameraChange::Kind::connected) << "told once";
    EXPECT_TRUE(moreFramesCome()) << "the session goes on";
}

TEST_F(V4l2CamerasTest, ACameraThatRefusesAFormatIsAskedForItsLargest) {
    auto& node = plug({.modes = {Mode{V4L2_PIX_FMT_YUYV, 64, 48}}});
    const auto camera = listed().front();
    const auto fresh = platform().makeSession();
    node.fail(VIDIOC_S_FMT, EINVAL);
    const auto input = platform().makeInput(camera);
    fresh->beginConfiguration();
    EXPECT_FALSE(fresh->canAddInput(input));
    node.fail(VIDIOC_S_FMT, 0);
    fresh->setPreset(CameraPreset::high);
    EXPECT_TRUE(fresh->canAddInput(input));
}

TEST_F(V4l2CamerasTest, ACameraThatCannotStreamIsReportedAndTriedAgain) {
    auto& node = plug({});
    node.fail(VIDIOC_STREAMON, ENOSPC);
    run();
    ASSERT_TRUE(node.waitForStreamOns(2));
    EXPECT_THAT(log.lines().front().message, HasSubstr("USB port of Mock Webcam"));
    node.fail(VIDIOC_STREAMON, 0);
    EXPECT_TRUE(moreFramesCome());
}

TEST_F(V4l2CamerasTest, DriversWithOddAnswersAreSurvived) {
    auto& node = plug({});
    for (const unsigned long request :
         {VIDIOC_QUERYCAP, VIDIOC_ENUM_FMT, VIDIOC_ENUM_FRAMESIZES, VIDIOC_ENUM_FRAMEINTERVALS})
        for (const int code : {EIO, EINVAL, ENOTTY, ENODEV}) {
            node.fail(request, code);
            listed();
            node.fail(request, 0);
        }
    const auto camera = listed().front();
    for (const unsigned long request : {VIDIOC_S_FMT, VIDIOC_REQBUFS, VIDIOC_QUERYBUF})
        for (const int code : {EIO, EINVAL, ENOTTY, ENODEV, EBUSY}) {
            node.fail(request, code);
            try {
                const auto input = platform().makeInput(camera);
                EXPECT_FALSE(platform().makeSession()->canAddInput(input));
            } catch (const CameraError& error) {
                EXPECT_NE(error.kind, CameraError::Kind::failed);
            }
            node.fail(request, 0);
        }
    run();
    EXPECT_TRUE(moreFramesCome());
}

// Runs as another user for a while; only root can.
class OtherUser {
public:
    OtherUser() : _isOther(geteuid() == 0 && seteuid(65534) == 0) {}
    ~OtherUser() {
        if (_isOther && seteuid(0) != 0) ADD_FAILURE() << "cannot become root again";
    }
    explicit operator bool() const { return _isOther; }

private:
    const bool _isOther;
};

TEST_F(V4l2CamerasTest, ANodeThatThisUserMayNotOpenIsDenied) {
    cameras = nullptr; // its monitor would still look at the node as root
    v4l2::V4l2Cameras backend;
    plug({.card = "Secret Camera"}).deny();
    const OtherUser other;
    if (!other) GTEST_SKIP() << "only root can become another user";
    EXPECT_THAT(backend.cameras(), IsEmpty());
    EXPECT_TRUE(backend.hasDenied());
    EXPECT_TRUE(log.contains("no permission to use Secret Camera: add yourself to the group "
                             "\"video\" (sudo usermod -aG video $USER) and log in again"));
}

} // namespace
} // namespace lanternfly::test
