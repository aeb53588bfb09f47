#include "platform/linux/v4l2/V4l2Cameras.h"

#include <algorithm>
#include <cerrno>

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>

#include "platform/linux/v4l2/KnownNodes.h"
#include "platform/linux/v4l2/VideoNodes.h"

namespace lanternfly::v4l2 {

struct V4l2Cameras::State {
    KnownNodes nodes;
    ChangeSink sink; // set once, before any camera is asked for

    void announce(CameraChange::Kind kind, const std::optional<KnownNodes::Camera>& camera) const {
        if (camera && sink) sink({kind, camera->uniqueID, camera->localizedName});
    }
};

class V4l2Cameras::Camera final : public StreamingCamera {
public:
    Camera(const VideoNode& node, std::shared_ptr<State> state, const Patience& patience)
        : StreamingCamera(descriptionOf(node, state->nodes.add(node.facts))), _modes(node.modes),
          _state(std::move(state)), _patience(patience) {}

    std::unique_ptr<CameraStream> open() override {
        V4l2Stream::Camera camera;
        camera.name = localizedName();
        camera.modes = _modes;
        camera.locate = [state = _state, id = uniqueID()] { return state->nodes.placeOf(id); };
        camera.lost = [state = _state](uint64_t arrival) {
            state->announce(CameraChange::Kind::disconnected, state->nodes.removeArrival(arrival));
        };
        camera.patience = _patience;
        return std::make_unique<V4l2Stream>(std::move(camera), configuration());
    }

private:
    static CameraDescription descriptionOf(const VideoNode& node, std::string id) {
        CameraDescription description{.uniqueID = std::move(id),
                                      .localizedName = nameOf(node.facts),
                                      .manufacturer = manufacturerOf(node.facts),
                                      .modelID = modelOf(node.facts),
                                      .className = "V4l2Camera",
                                      .type = typeOf(node.facts),
                                      .transportType = transportTypeOf(node.facts),
                                      .formats = {}};
        for (const CameraMode& mode : node.modes)
            description.formats.push_back(formatOf(mode));
        return description;
    }

    const std::vector<CameraMode> _modes;
    const std::shared_ptr<State> _state;
    const Patience _patience;
};

V4l2Cameras::V4l2Cameras(const Patience& patience)
    : _patience(patience), _state(std::make_shared<State>()),
      _wakeUp(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

V4l2Cameras::~V4l2Cameras() {
    if (!_monitor.joinable()) return;
    ::eventfd_write(_wakeUp.get(), 1);
    _monitor.join();
}

std::vector<StreamingCameraRef> V4l2Cameras::cameras() {
    const Logger log("V4l2Cameras");
    std::vector<StreamingCameraRef> found;
    for (const VideoNode& node : cameraNodes()) {
        if (node.isDenied)
            log.warning("{}", errorOf(EACCES, nameOf(node.facts)).what());
        else
            found.push_back(std::make_shared<Camera>(node, _state, _patience));
    }
    return found;
}

bool V4l2Cameras::hasDenied() {
    return std::ranges::any_of(cameraNodes(), &VideoNode::isDenied);
}

void V4l2Cameras::announceTo(ChangeSink sink) {
    _state->sink = std::move(sink);
    auto monitor = NodeMonitor::create();
    if (!monitor || !_wakeUp) return;
    _monitor = std::thread([this, kept = std::move(monitor)] { watch(*kept); });
}

void V4l2Cameras::watch(NodeMonitor& monitor) const {
    pthread_setname_np(pthread_self(), "camera-monitor");
    pollfd waited[] = {{_wakeUp.get(), POLLIN, 0}, {monitor.descriptor(), POLLIN, 0}};
    for (;;) {
        if (::poll(waited, std::size(waited), -1) < 0 && errno != EINTR) return;
        if (waited[0].revents != 0) return;
        if (waited[1].revents == 0) continue;
        const auto event = monitor.next();
        if (!event) continue;
        switch (event->kind) {
        case NodeMonitor::Event::Kind::added:
            if (event->camera && !event->camera->isDenied)
                _state->announce(CameraChange::Kind::connected,
                                 KnownNodes::Camera{_state->nodes.add(event->camera->facts),
                                                    nameOf(event->camera->facts)});
            break;
        case NodeMonitor::Event::Kind::removed:
            _state->announce(CameraChange::Kind::disconnected,
                             _state->nodes.removeNode(event->syspath));
            break;
        }
    }
}

} // namespace lanternfly::v4l2
