#include "platform/linux/camera/SystemCameras.h"

#include <stdexcept>

#include "base/Logger.h"
#include "platform/linux/pipewire/PipeWireCameras.h"
#include "platform/linux/v4l2/V4l2Cameras.h"

namespace lanternfly {

std::vector<std::unique_ptr<CameraBackend>> systemCameras() {
    std::vector<std::unique_ptr<CameraBackend>> backends;
    backends.push_back(std::make_unique<v4l2::V4l2Cameras>());
    try {
        backends.push_back(std::make_unique<pipewire::PipeWireCameras>());
    } catch (const std::runtime_error& error) {
        Logger("SystemCameras").warning("cameras of PipeWire are left out: {}", error.what());
    }
    return backends;
}

} // namespace lanternfly
