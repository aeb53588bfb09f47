// Examines this machine for what a live show needs.
// Threads: bound; takes a few seconds.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>

#include "app/doctor/Finding.h"
#include "capture/CameraDeviceInfo.h"
#include "platform/CameraPlatform.h"

namespace lanternfly {

// The parts, each on facts alone.
Finding cameraFinding(CameraAuthorization authorization,
                      const std::vector<CameraDeviceInfo>& cameras);
// `socket` is where PipeWire listens, absent when its place is not known.
Finding pipeWireFinding(const std::optional<std::filesystem::path>& socket, bool answers);
// Folders as /usr/share and /sys/class are.
Finding portalFinding(const std::vector<std::filesystem::path>& dataFolders, bool hasSessionBus);
Finding loopbackFinding(const std::filesystem::path& videoClass);
Finding displayFinding(bool hasX11, bool hasWayland);
Finding controlFinding(const std::optional<std::filesystem::path>& socket);
Finding settingsFinding(const std::vector<std::string>& problems);
// Milliseconds a frame of 1920x1080 and one search for hands take here; absent: it failed, `why`.
struct Speed {
    std::optional<double> frameMs{}, handsMs{};
    int processors = 0;
    std::string why{};
};
Finding speedFinding(const Speed& speed);

// All of them, in the order in which they matter; told one by one as they are known.
void examine(const std::function<void(const Finding&)>& tell);

} // namespace lanternfly
