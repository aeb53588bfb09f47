// The scripted cameras and a video file, held to what every platform promises.
#include <atomic>
#include <thread>

#include "contract/camera/CameraContract.h"
#include "platform/fake/ScriptedCameras.h"
#include "platform/linux/camera/LinuxCameras.h"
#include "platform/linux/video/FileCamera.h"

namespace lanternfly::test {
namespace {

class ScriptedMaker final : public CameraMaker {
public:
    ScriptedMaker() {
        plug();
        _sender = std::thread([this] {
            for (int64_t i = 0; !_isOver; ++i) {
                _cameras->sendFrame(MediaTime::make(i, 1'000'000));
                std::this_thread::yield();
            }
        });
    }
    ~ScriptedMaker() override {
        _isOver = true;
        _sender.join();
    }
    std::shared_ptr<CameraPlatform> platform() override { return _cameras; }
    void unplug() override { _cameras->detach("scripted"); }
    void plug() override {
        _cameras->attach({.uniqueID = "scripted", .formats = {{64, 48, {{30, 30}}, false, ""}}});
    }

private:
    const std::shared_ptr<ScriptedCameras> _cameras = std::make_shared<ScriptedCameras>();
    std::atomic<bool> _isOver{false};
    std::thread _sender;
};

class FileMaker final : public CameraMaker {
public:
    std::shared_ptr<CameraPlatform> platform() override {
        std::vector<std::unique_ptr<CameraBackend>> backends;
        backends.push_back(
            std::make_unique<FixedCameras>(std::vector<StreamingCameraRef>{FileCamera::demo()}));
        return std::make_shared<LinuxCameras>(std::move(backends));
    }
    bool isExclusive() const override { return false; }
};

std::string nothing() {
    return {};
}

INSTANTIATE_TEST_SUITE_P(
    Implementations, CameraContract,
    testing::Values(
        CameraMakerParameter{"Scripted", nothing, [] { return std::make_unique<ScriptedMaker>(); }},
        CameraMakerParameter{"File", nothing, [] { return std::make_unique<FileMaker>(); }}),
    nameOfMaker);

INSTANTIATE_TEST_SUITE_P(Implementations, PluggedCameraContract,
                         testing::Values(CameraMakerParameter{
                             "Scripted", nothing,
                             [] { return std::make_unique<ScriptedMaker>(); }}),
                         nameOfMaker);

} // namespace
} // namespace lanternfly::test
