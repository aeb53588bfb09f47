#include "platform/linux/pipewire/PipeWireCameras.h"

#include <unistd.h>

#include "platform/linux/pipewire/CameraNodes.h"
#include "platform/linux/pipewire/NodeStream.h"

namespace lanternfly::pipewire {
namespace {

bool isLeftToV4l2(const Properties& properties) {
    const std::string node = videoNodeOf(properties);
    return !node.empty() && ::access(node.c_str(), R_OK | W_OK) == 0;
}

} // namespace

class PipeWireCameras::Camera final : public StreamingCamera {
public:
    Camera(const CameraNode& node, std::shared_ptr<CameraNodes> nodes,
           const v4l2::Patience& patience)
        : StreamingCamera(descriptionOf(node)), _formats(node.formats), _nodes(std::move(nodes)),
          _patience(patience) {}

    std::unique_ptr<CameraStream> open() override {
        return std::make_unique<NodeStream>(
            NodeStream::Camera{
                .name = localizedName(),
                .formats = _formats,
                .locate = [nodes = _nodes, id = uniqueID()] { return nodes->targetOf(id); },
                .patience = _patience},
            configuration());
    }

private:
    const std::vector<VideoFormat> _formats;
    const std::shared_ptr<CameraNodes> _nodes;
    const v4l2::Patience _patience;
};

PipeWireCameras::PipeWireCameras(const v4l2::Patience& patience)
    : _patience(patience), _nodes(std::make_shared<CameraNodes>([](const Properties& properties) {
          return !isLeftToV4l2(properties);
      })) {}

PipeWireCameras::~PipeWireCameras() {
    _nodes->setNews({});
}

std::vector<StreamingCameraRef> PipeWireCameras::cameras() {
    std::vector<StreamingCameraRef> found;
    for (const CameraNode& node : _nodes->all())
        found.push_back(std::make_shared<Camera>(node, _nodes, _patience));
    return found;
}

void PipeWireCameras::announceTo(ChangeSink sink) {
    _nodes->setNews([kept = std::move(sink)](CameraChange::Kind kind, const CameraNode& node) {
        kept({kind, node.uniqueID, descriptionOf(node).localizedName});
    });
}

} // namespace lanternfly::pipewire
