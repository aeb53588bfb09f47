// The video nodes of the machine, through udev and by asking each.
// Threads: safe; a monitor is bound.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/v4l2/CameraModes.h"
#include "platform/linux/v4l2/NodeFacts.h"

struct udev;
struct udev_device;
struct udev_monitor;

namespace lanternfly::v4l2 {

struct VideoNode {
    NodeFacts facts;
    std::vector<CameraMode> modes; // empty when this user may not open it
    bool isDenied = false;
};

// The nodes that are cameras; in the order of their names.
std::vector<VideoNode> cameraNodes();

// The nodes that take pictures, such as loopback devices, and that this user may open; in the order
// of their names.
std::vector<NodeFacts> outputNodes();

// Tells of nodes that come and go.
class NodeMonitor {
public:
    struct Event {
        enum class Kind { added, removed };
        Kind kind;
        std::string syspath;
        std::optional<VideoNode> camera; // of what was added, if that is one
    };

    // Null when the system does not tell.
    static std::unique_ptr<NodeMonitor> create();

    // Readable when there is an event.
    int descriptor() const;
    // Nothing when the event is of no interest.
    std::optional<Event> next();

private:
    struct Unref {
        void operator()(udev* context) const;
        void operator()(udev_monitor* monitor) const;
    };
    NodeMonitor() = default;

    std::unique_ptr<udev, Unref> _context;
    std::unique_ptr<udev_monitor, Unref> _monitor;
};

} // namespace lanternfly::v4l2
