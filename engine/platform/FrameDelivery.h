// Brings frames from a camera's thread to an output's queue. Where late frames are discarded, at
// most one frame waits, and it is the newest.
// Threads: safe.
#pragma once

#include <memory>

#include "platform/CameraSession.h"

namespace lanternfly {

class FrameDelivery {
public:
    explicit FrameDelivery(CameraOutputRef output);
    // Frames that wait are dropped; a handler that runs completes.
    ~FrameDelivery();
    FrameDelivery(const FrameDelivery&) = delete;
    FrameDelivery& operator=(const FrameDelivery&) = delete;

    void put(CameraSample sample);

private:
    struct State;
    static void deliver(State& state);

    std::shared_ptr<State> _state;
};

} // namespace lanternfly
