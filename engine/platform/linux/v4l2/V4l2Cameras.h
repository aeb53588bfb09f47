// The video nodes of the machine as cameras.
// Threads: safe.
#pragma once

#include <memory>
#include <thread>

#include "base/UniqueFd.h"
#include "platform/linux/camera/StreamingCamera.h"
#include "platform/linux/v4l2/V4l2Stream.h"

namespace lanternfly::v4l2 {

class NodeMonitor;

// Each time they are asked for, nodes are asked again: some drivers change what a node is without
// telling anyone.
class V4l2Cameras final : public CameraBackend {
public:
    explicit V4l2Cameras(const Patience& patience = {});
    ~V4l2Cameras() override;

    std::vector<StreamingCameraRef> cameras() override;
    bool hasDenied() override;
    void announceTo(ChangeSink sink) override;

private:
    struct State;
    class Camera;
    void watch(NodeMonitor& monitor) const;

    const Patience _patience;
    const std::shared_ptr<State> _state; // shared with cameras and their streams
    UniqueFd _wakeUp;
    std::thread _monitor;
};

} // namespace lanternfly::v4l2
