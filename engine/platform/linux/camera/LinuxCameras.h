// The cameras of all back ends as one platform.
// Threads: safe.
#pragma once

#include <memory>
#include <vector>

#include "base/SerialQueue.h"
#include "platform/CameraPlatform.h"
#include "platform/linux/camera/StreamingCamera.h"

namespace lanternfly {

class LinuxCameras final : public CameraPlatform {
public:
    // In the order in which their cameras are listed.
    explicit LinuxCameras(std::vector<std::unique_ptr<CameraBackend>> backends);
    ~LinuxCameras() override;

    std::vector<CameraDeviceRef> devices(std::span<const CameraDeviceType> types) override;
    // Denied when there are cameras and this user may open none of them.
    CameraAuthorization authorization() override;
    void requestAccess(std::function<void(bool isGranted)> completion) override;
    CameraReactions reactions() override { return {}; }
    CameraInputRef makeInput(const CameraDeviceRef& device) override;
    std::unique_ptr<CameraSession> makeSession() override;
    Observation observe(Observer observer) override;

private:
    struct Observers;

    // Shared with tasks that are on their way.
    const std::shared_ptr<Observers> _observers;
    const std::shared_ptr<SerialQueue> _notifications;
    const std::vector<std::unique_ptr<CameraBackend>> _backends;
};

// Cameras that are always there.
class FixedCameras final : public CameraBackend {
public:
    explicit FixedCameras(std::vector<StreamingCameraRef> cameras) : _cameras(std::move(cameras)) {}
    std::vector<StreamingCameraRef> cameras() override { return _cameras; }

private:
    const std::vector<StreamingCameraRef> _cameras;
};

} // namespace lanternfly
