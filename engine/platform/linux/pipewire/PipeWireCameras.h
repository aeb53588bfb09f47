// The camera nodes of PipeWire as cameras: what libcamera drives, what other programs make, and all
// there is inside a sandbox. Video nodes that this program can open itself are left to V4L2.
// Threads: safe.
#pragma once

#include <memory>

#include "platform/linux/camera/StreamingCamera.h"
#include "platform/linux/v4l2/V4l2Stream.h"

namespace lanternfly::pipewire {

class CameraNodes;

class PipeWireCameras final : public CameraBackend {
public:
    // Throws std::runtime_error when PipeWire's library is not complete on this machine.
    explicit PipeWireCameras(const v4l2::Patience& patience = {});
    ~PipeWireCameras() override;

    std::vector<StreamingCameraRef> cameras() override;
    void announceTo(ChangeSink sink) override;

private:
    class Camera;

    const v4l2::Patience _patience;
    const std::shared_ptr<CameraNodes> _nodes; // shared with cameras and their streams
};

} // namespace lanternfly::pipewire
