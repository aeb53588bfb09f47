// Which cameras a wish stands for: those of the machine, a video file, or the drawn presenter.
// Threads: safe.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/CameraPlatform.h"

namespace lanternfly {

struct CameraSource {
    std::shared_ptr<CameraPlatform> platform;
    // An identifier, or the name of a camera that is not attached yet; absent: the best camera.
    std::optional<std::string> wished;
};

// The cameras of the machine.
std::shared_ptr<CameraPlatform> machineCameras();

// "" is the best camera of the machine, "demo" the drawn presenter, a name with a slash or of a
// file that is there a video that plays over and over, anything else the identifier or the name of
// a camera, which may be attached later. Throws VideoError.
CameraSource cameraSource(const std::string& wish);

// The identifier of the attached camera that has this identifier or name.
std::optional<std::string> attachedCamera(CameraPlatform& platform, const std::string& idOrName);

// What to do when this user may open none of the cameras.
inline constexpr const char* cameraPermissionHelp =
    "there are cameras, but no permission to use them: add yourself to the group \"video\" (sudo "
    "usermod -aG video $USER) and log in again";
inline constexpr const char* noCameraHelp =
    "no camera found; plug one in, or switch the built-in one on (some computers have a key or a "
    "slider for it)";

} // namespace lanternfly
