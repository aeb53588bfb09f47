// Everything on this machine that has cameras.
// Threads: safe.
#pragma once

#include <memory>
#include <vector>

#include "platform/linux/camera/StreamingCamera.h"

namespace lanternfly {

// Video nodes first, then what PipeWire has beside them.
std::vector<std::unique_ptr<CameraBackend>> systemCameras();

} // namespace lanternfly
