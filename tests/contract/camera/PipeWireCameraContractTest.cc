// Camera nodes of a PipeWire session of the test's own, held to what every platform promises.
#include <chrono>

#include "contract/camera/CameraContract.h"
#include "platform/linux/camera/LinuxCameras.h"
#include "platform/linux/pipewire/PipeWireCameras.h"
#include "platform/linux/pipewire/VirtualCamera.h"
#include "support/ColourBars.h"
#include "support/FrameSender.h"
#include "support/PipeWireSession.h"
#include "support/StateWaiter.h"

namespace lanternfly::test {
namespace {

// Another program's camera.
class NodeMaker final : public CameraMaker {
public:
    NodeMaker() {
        static int count = 0;
        _name = "Camera " + std::to_string(++count);
        plug();
    }
    // The node of the test before may still be leaving.
    std::shared_ptr<CameraPlatform> platform() override {
        std::vector<std::unique_ptr<CameraBackend>> backends;
        backends.push_back(std::make_unique<pipewire::PipeWireCameras>());
        auto made = std::make_shared<LinuxCameras>(std::move(backends));
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (std::chrono::steady_clock::now() < end) {
            const auto found = made->devices(cameraTypesByPriority);
            if (found.size() == 1 && found.front()->localizedName() == _name) break;
            std::this_thread::yield();
        }
        return made;
    }
    bool isExclusive() const override { return false; }
    void unplug() override {
        _sender = nullptr;
        _camera = nullptr;
    }
    void plug() override {
        _camera = std::make_unique<pipewire::VirtualCamera>(
            pipewire::VirtualCameraDescription{.name = _name,
                                               .manufacturer = "Test Makers",
                                               .model = "Test Camera",
                                               .streamTag = "test.Video",
                                               .width = 320,
                                               .height = 180});
        _sender = std::make_unique<FrameSender>(*_camera, colourBars(320, 180));
    }

private:
    std::string _name;
    std::unique_ptr<pipewire::VirtualCamera> _camera;
    std::unique_ptr<FrameSender> _sender; // goes before the camera
};

const CameraMakerParameter nodes{"PipeWire", [] { return PipeWireSession::missing; },
                                 [] { return std::make_unique<NodeMaker>(); }};

INSTANTIATE_TEST_SUITE_P(Implementations, CameraContract, testing::Values(nodes), nameOfMaker);
INSTANTIATE_TEST_SUITE_P(Implementations, PluggedCameraContract, testing::Values(nodes),
                         nameOfMaker);

class PipeWireCamerasTest : public testing::Test {
protected:
    void SetUp() override {
        if (!PipeWireSession::missing.empty()) GTEST_SKIP() << PipeWireSession::missing;
        maker = std::make_unique<NodeMaker>();
        cameras = maker->platform();
    }
    CameraDeviceRef onlyCamera() {
        const auto found = cameras->devices(cameraTypesByPriority);
        return found.size() == 1 ? found.front() : nullptr;
    }
    void run(size_t format) {
        auto output = std::make_shared<CameraOutput>();
        output->queue = queue;
        output->handler = [&](const CameraSample& sample) {
            frames.add(sample.buffer, sample.pts);
        };
        const auto camera = onlyCamera();
        camera->lockForConfiguration()->setActiveFormat(format);
        session = cameras->makeSession();
        session->beginConfiguration();
        session->addInput(cameras->makeInput(camera));
        session->addOutput(output);
        session->commitConfiguration();
        session->startRunning();
    }

    LogCapture log;
    const std::shared_ptr<SerialQueue> queue = std::make_shared<SerialQueue>("test.delivery");
    FrameCollector frames;
    std::unique_ptr<NodeMaker> maker;
    std::shared_ptr<CameraPlatform> cameras;
    std::unique_ptr<CameraSession> session;
};

TEST_F(PipeWireCamerasTest, IsDescribedAsTheNodeDescribesItself) {
    const auto camera = onlyCamera();
    ASSERT_TRUE(camera);
    EXPECT_EQ(camera->uniqueID(), "pipewire:" + camera->localizedName());
    EXPECT_EQ(camera->manufacturer(), "Test Makers");
    EXPECT_EQ(camera->modelID(), "Test Camera");
    EXPECT_EQ(camera->className(), "PipeWireCamera");
    EXPECT_EQ(camera->transportType(), CameraTransportType::virtualDevice);
    ASSERT_EQ(camera->formats().size(), 3u);
    EXPECT_EQ(camera->formats()[0].encoding, "YUY2");
    EXPECT_EQ(camera->formats()[0].rateRanges, (std::vector<CameraRateRange>{{30, 30}}));
}

TEST_F(PipeWireCamerasTest, PicturesAreRightInEachFormat) {
    for (size_t format = 0; format < 3; ++format) {
        SCOPED_TRACE(onlyCamera()->formats()[format].encoding);
        const size_t before = frames.count();
        run(format);
        ASSERT_TRUE(frames.waitFor(before + 2));
        session = nullptr;
        EXPECT_LE(worstBarError(*frames.frames().front().buffer), 4);
        frames.clear();
    }
}

TEST_F(PipeWireCamerasTest, FramesComeAgainAfterARestartOfPipeWire) {
    run(0);
    ASSERT_TRUE(frames.waitFor(2));
    ChangeCollector changes;
    const auto observation =
        cameras->observe([&](const CameraChange& change) { changes.add(change); });
    PipeWireSession::pipewire->kill();
    ASSERT_TRUE(changes.waitFor(1));
    EXPECT_EQ(changes.changes()[0].kind, CameraChange::Kind::disconnected);
    const size_t before = frames.count();
    ASSERT_TRUE(PipeWireSession::pipewire->start());
    ASSERT_TRUE(changes.waitFor(2));
    EXPECT_EQ(changes.changes()[1].kind, CameraChange::Kind::connected);
    EXPECT_TRUE(frames.waitFor(before + 3));
}

TEST_F(PipeWireCamerasTest, WithoutPipeWireThereAreNoCameras) {
    cameras = nullptr;
    PipeWireSession::pipewire->kill();
    pipewire::PipeWireCameras none;
    EXPECT_TRUE(none.cameras().empty());
    ASSERT_TRUE(PipeWireSession::pipewire->start());
}

} // namespace
} // namespace lanternfly::test
