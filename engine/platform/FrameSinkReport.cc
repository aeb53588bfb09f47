#include "platform/FrameSinkReport.h"

#include <utility>

namespace lanternfly {

FrameSinkReport::FrameSinkReport(std::string name, std::string category, State state)
    : _name(std::move(name)), _log(std::move(category)), _now(Now{state, {}}), _state(state) {}

void FrameSinkReport::set(State state, std::string problem) {
    Now before;
    const bool isChanged = _now.withLock([&](Now& now) {
        before = now;
        if (now.state == State::failed || now.state == State::finished) return false;
        if (now.state == state && now.problem == problem) return false;
        now = {state, problem};
        _state = state;
        return true;
    });
    if (!isChanged) return;
    if (!problem.empty() && problem != before.problem) {
        if (state == State::failed)
            _log.error("{}", problem);
        else
            _log.warning("{}", problem);
    }
    if (before.state == State::waiting && (state == State::idle || state == State::watched))
        _log.info("{} works", _name);
    if (const auto callback = _callback.get()) callback();
}

FrameSinkStatus FrameSinkReport::status() const {
    FrameSinkStatus status;
    _now.withLock([&](const Now& now) {
        status.state = now.state;
        status.problem = now.problem;
    });
    status.sentFrames = _sent;
    status.droppedFrames = _dropped;
    return status;
}

} // namespace lanternfly
