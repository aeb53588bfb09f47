// Several sinks as one: each gets every frame, and none waits for another.
// Threads: safe.
#pragma once

#include <memory>
#include <vector>

#include "platform/FrameSink.h"

namespace lanternfly {

class FrameSinks final : public FrameSink {
public:
    explicit FrameSinks(std::vector<std::unique_ptr<FrameSink>> sinks);

    const std::string& name() const override { return _name; }
    void send(const PixelBufferRef& frame, MediaTime pts) override;
    // Somebody watches one of them.
    bool isWatched() const override;
    // The state of the one that does best, the problem of the first that has one, and all frames
    // together.
    FrameSinkStatus status() const override;
    void setStateCallback(std::function<void()> callback) override;
    void finish() override;

    const std::vector<std::unique_ptr<FrameSink>>& all() const { return _sinks; }

private:
    const std::vector<std::unique_ptr<FrameSink>> _sinks;
    const std::string _name;
};

} // namespace lanternfly
