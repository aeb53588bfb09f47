// Frames of a camera node. A node that stops sending is linked anew, and one that went is taken up
// again when it is back.
// Threads: bound; frames come on a thread of its own.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/camera/StreamingCamera.h"
#include "platform/linux/pipewire/VideoFormats.h"
#include "platform/linux/v4l2/V4l2Stream.h"

namespace lanternfly::pipewire {

class NodeStream final : public CameraStream {
public:
    struct Camera {
        std::string name;
        std::vector<VideoFormat> formats;
        // By which the node is found now; nothing while it is not there.
        std::function<std::optional<std::string>()> locate;
        v4l2::Patience patience;
    };

    // Throws CameraError when the node is not there.
    NodeStream(Camera camera, const CameraConfiguration& configuration);
    ~NodeStream() override;

    bool prepare(const CameraConfiguration& configuration) override;
    void start(FrameSink sink) override;
    void stop() override;

private:
    struct Running;

    const Camera _camera;
    CameraConfiguration _configuration;
    std::unique_ptr<Running> _running; // null while stopped
};

} // namespace lanternfly::pipewire
