// What a sink says about itself: its state, told and logged when it changes, and its counts.
// Threads: safe.
#pragma once

#include <atomic>
#include <functional>
#include <string>

#include "base/LockedCell.h"
#include "base/Logger.h"
#include "platform/FrameSink.h"

namespace lanternfly {

class FrameSinkReport {
public:
    using State = FrameSinkStatus::State;

    // `category` is the log's.
    FrameSinkReport(std::string name, std::string category, State state = State::idle);

    const std::string& name() const { return _name; }
    void setCallback(std::function<void()> callback) { _callback.set(std::move(callback)); }

    // Of several changes at once any may be told last. What has failed or finished stays so. A
    // problem is logged when it is another than before, and so is its end.
    void set(State state, std::string problem = {});
    void countSent() { ++_sent; }
    void countDropped() { ++_dropped; }

    State state() const { return _state.load(); }
    FrameSinkStatus status() const;

private:
    struct Now {
        State state;
        std::string problem;
    };

    const std::string _name;
    const Logger _log;
    LockedCell<Now> _now;
    std::atomic<State> _state; // the cell's, for whoever asks with each frame
    std::atomic<uint64_t> _sent{0}, _dropped{0};
    LockedCell<std::function<void()>> _callback;
};

} // namespace lanternfly
