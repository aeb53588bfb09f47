#include "app/live/CameraSource.h"

#include <filesystem>

#include "capture/CameraChoice.h"
#include "platform/linux/camera/LinuxCameras.h"
#include "platform/linux/camera/SystemCameras.h"
#include "platform/linux/video/FileCamera.h"

namespace lanternfly {
namespace {

namespace fs = std::filesystem;

CameraSource only(StreamingCameraRef camera) {
    std::string id = camera->uniqueID();
    std::vector<std::unique_ptr<CameraBackend>> backends;
    backends.push_back(std::make_unique<FixedCameras>(std::vector{std::move(camera)}));
    return {std::make_shared<LinuxCameras>(std::move(backends)), std::move(id)};
}

bool isFile(const std::string& wish) {
    std::error_code failure;
    return wish.find('/') != wish.npos || fs::is_regular_file(wish, failure);
}

} // namespace

std::shared_ptr<CameraPlatform> machineCameras() {
    return std::make_shared<LinuxCameras>(systemCameras());
}

CameraSource cameraSource(const std::string& wish) {
    if (wish == "demo") return only(FileCamera::demo());
    if (isFile(wish)) return only(FileCamera::create(wish));
    CameraSource source{machineCameras(), std::nullopt};
    if (!wish.empty()) source.wished = attachedCamera(*source.platform, wish).value_or(wish);
    return source;
}

std::optional<std::string> attachedCamera(CameraPlatform& platform, const std::string& idOrName) {
    const auto devices = platform.devices(cameraTypesByPriority);
    for (const auto name : {&CameraDevice::uniqueID, &CameraDevice::localizedName})
        for (const CameraDeviceRef& device : devices)
            if ((*device.*name)() == idOrName) return device->uniqueID();
    return std::nullopt;
}

} // namespace lanternfly
