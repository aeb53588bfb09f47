// The camera nodes that PipeWire has now, and news of their coming and going.
// Threads: safe; news comes on a thread of its own.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/CameraPlatform.h"
#include "platform/linux/pipewire/CameraNode.h"

struct pw_core;

namespace lanternfly::pipewire {

class CameraNodes {
public:
    using News = std::function<void(CameraChange::Kind, const CameraNode&)>;
    // Nodes for which it returns false are left out.
    using Filter = std::function<bool(const Properties&)>;

    // Where PipeWire does not run there are no nodes until it does. Throws std::runtime_error when
    // its library is not complete on this machine.
    explicit CameraNodes(Filter filter);
    ~CameraNodes();

    // In the order of their coming. Waits a little for a PipeWire that was just found to list them.
    std::vector<CameraNode> all();
    // By which a stream finds the node; nothing while it is not there.
    std::optional<std::string> targetOf(const std::string& uniqueID) const;
    // Installed once.
    void setNews(News news);

private:
    struct State;
    const std::unique_ptr<State> _state;
};

} // namespace lanternfly::pipewire
