#include "platform/linux/camera/LinuxCameras.h"

#include <algorithm>

#include "platform/linux/camera/StreamSession.h"

namespace lanternfly {

struct LinuxCameras::Observers {
    LockedCell<std::vector<std::weak_ptr<Observer>>> _all;

    // Those that are there now.
    std::vector<std::weak_ptr<Observer>> current() {
        return _all.withLock([](auto& all) {
            std::erase_if(all, [](const auto& weak) { return weak.expired(); });
            return all;
        });
    }
};

LinuxCameras::LinuxCameras(std::vector<std::unique_ptr<CameraBackend>> backends)
    : _observers(std::make_shared<Observers>()),
      _notifications(
          std::make_shared<SerialQueue>("org.lanternfly.Lanternfly.LinuxCameras.notifications")),
      _backends(std::move(backends)) {
    for (const auto& backend : _backends)
        backend->announceTo([observers = _observers, queue = _notifications](CameraChange change) {
            queue->async([told = observers->current(), kept = std::move(change)] {
                for (const auto& weak : told)
                    if (const auto observer = weak.lock()) (*observer)(kept);
            });
        });
}

LinuxCameras::~LinuxCameras() = default;

std::vector<CameraDeviceRef> LinuxCameras::devices(std::span<const CameraDeviceType> types) {
    std::vector<CameraDeviceRef> found;
    for (const auto& backend : _backends)
        for (StreamingCameraRef& camera : backend->cameras())
            if (std::ranges::find(types, camera->type()) != types.end())
                found.push_back(std::move(camera));
    return found;
}

CameraAuthorization LinuxCameras::authorization() {
    bool isDenied = false;
    for (const auto& backend : _backends) {
        if (!backend->cameras().empty()) return CameraAuthorization::authorized;
        isDenied |= backend->hasDenied();
    }
    return isDenied ? CameraAuthorization::denied : CameraAuthorization::authorized;
}

void LinuxCameras::requestAccess(std::function<void(bool isGranted)> completion) {
    completion(authorization() == CameraAuthorization::authorized);
}

CameraInputRef LinuxCameras::makeInput(const CameraDeviceRef& device) {
    return std::make_shared<StreamInput>(std::static_pointer_cast<StreamingCamera>(device));
}

std::unique_ptr<CameraSession> LinuxCameras::makeSession() {
    return std::make_unique<StreamSession>();
}

CameraPlatform::Observation LinuxCameras::observe(Observer observer) {
    auto kept = std::make_shared<Observer>(std::move(observer));
    _observers->_all.withLock([&](auto& all) { all.push_back(kept); });
    return kept;
}

} // namespace lanternfly
