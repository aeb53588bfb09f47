// The virtual camera in a PipeWire session of the test's own, watched by this program's own camera
// back end, held to what every sink promises.
#include "platform/linux/pipewire/VirtualCamera.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "contract/frame_sink/FrameSinkContract.h"
#include "platform/CameraSession.h"
#include "platform/linux/camera/LinuxCameras.h"
#include "platform/linux/pipewire/PipeWireCameras.h"
#include "support/PipeWireSession.h"

namespace lanternfly::test {
namespace {

constexpr int width = 320, height = 180;

class VirtualCameraMaker final : public FrameSinkMaker {
public:
    VirtualCameraMaker() {
        std::vector<std::unique_ptr<CameraBackend>> backends;
        backends.push_back(std::make_unique<pipewire::PipeWireCameras>());
        _cameras = std::make_shared<LinuxCameras>(std::move(backends));
    }
    std::unique_ptr<FrameSink> make() override {
        static int count = 0;
        _name = "Camera " + std::to_string(++count);
        return std::make_unique<pipewire::VirtualCamera>(
            pipewire::VirtualCameraDescription{.name = _name,
                                               .manufacturer = "Test Makers",
                                               .model = "Test Camera",
                                               .streamTag = "test.Video",
                                               .width = width,
                                               .height = height});
    }
    void watch() override {
        const CameraDeviceRef camera = find();
        ASSERT_TRUE(camera) << "the node is not listed";
        auto output = std::make_shared<CameraOutput>();
        output->queue = _queue;
        output->handler = [this](const CameraSample& sample) {
            const std::lock_guard guard(_mutex);
            _last = sample.buffer;
            _arrived.notify_all();
        };
        _session = _cameras->makeSession();
        _session->beginConfiguration();
        _session->addInput(_cameras->makeInput(camera));
        _session->addOutput(output);
        _session->commitConfiguration();
        _session->startRunning();
    }
    void unwatch() override {
        _session = nullptr;
        _queue->sync([] {});
    }
    bool waitForPicture() override {
        std::unique_lock lock(_mutex);
        return _arrived.wait_for(lock, std::chrono::seconds(60), [&] { return _last != nullptr; });
    }
    PixelBufferRef lastPicture() override {
        const std::lock_guard guard(_mutex);
        return _last;
    }
    int tolerance() const override { return 4; }

private:
    CameraDeviceRef find() const {
        constexpr CameraDeviceType types[] = {CameraDeviceType::external};
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (std::chrono::steady_clock::now() < end) {
            for (CameraDeviceRef& camera : _cameras->devices(types))
                if (camera->localizedName() == _name) return camera;
            std::this_thread::yield();
        }
        return nullptr;
    }

    const std::shared_ptr<SerialQueue> _queue = std::make_shared<SerialQueue>("test.delivery");
    std::mutex _mutex;
    std::condition_variable _arrived;
    PixelBufferRef _last;
    std::shared_ptr<LinuxCameras> _cameras;
    std::string _name;
    std::unique_ptr<CameraSession> _session;
};

INSTANTIATE_TEST_SUITE_P(Implementations, FrameSinkContract,
                         testing::Values(FrameSinkParameter{
                             "VirtualCamera", [] { return PipeWireSession::missing; },
                             [] { return std::make_unique<VirtualCameraMaker>(); }}),
                         nameOfSink);

} // namespace
} // namespace lanternfly::test
