// Video nodes played through umockdev, held to what every platform promises.
#include "contract/camera/CameraContract.h"
#include "platform/linux/camera/LinuxCameras.h"
#include "platform/linux/v4l2/V4l2Cameras.h"
#include "support/MockVideoNode.h"

namespace lanternfly::test {
namespace {

class V4l2Maker final : public CameraMaker {
public:
    V4l2Maker() : _node(_machine, {}) { plug(); }
    std::shared_ptr<CameraPlatform> platform() override {
        std::vector<std::unique_ptr<CameraBackend>> backends;
        backends.push_back(std::make_unique<v4l2::V4l2Cameras>());
        return std::make_shared<LinuxCameras>(std::move(backends));
    }
    void unplug() override { _node.unplug(); }
    void plug() override { _node.plug(); }

private:
    MockMachine _machine;
    MockVideoNode _node;
};

const CameraMakerParameter v4l2Nodes{
    "V4l2", [] { return MockMachine::isAvailable() ? "" : "umockdev is not preloaded: use ctest"; },
    [] { return std::make_unique<V4l2Maker>(); }};

INSTANTIATE_TEST_SUITE_P(Implementations, CameraContract, testing::Values(v4l2Nodes), nameOfMaker);
INSTANTIATE_TEST_SUITE_P(Implementations, PluggedCameraContract, testing::Values(v4l2Nodes),
                         nameOfMaker);

} // namespace
} // namespace lanternfly::test
