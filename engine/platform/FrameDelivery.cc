#include "platform/FrameDelivery.h"

#include <optional>
#include <utility>

#include "base/LockedCell.h"

namespace lanternfly {

struct FrameDelivery::State {
    struct Waiting {
        std::optional<CameraSample> sample;
        bool isScheduled = false;
        bool isClosed = false;
    };
    CameraOutputRef output;
    LockedCell<Waiting> _waiting;
};

FrameDelivery::FrameDelivery(CameraOutputRef output) : _state(std::make_shared<State>()) {
    _state->output = std::move(output);
}

FrameDelivery::~FrameDelivery() {
    std::optional<CameraSample> dropped; // returns to its pool after the lock is released
    _state->_waiting.withLock([&](State::Waiting& waiting) {
        waiting.isClosed = true;
        std::swap(waiting.sample, dropped);
    });
}

void FrameDelivery::put(CameraSample sample) {
    if (!_state->output->discardsLateFrames) {
        _state->output->queue->async([state = _state, kept = std::move(sample)] {
            if (!state->_waiting.withLock([](const State::Waiting& w) { return w.isClosed; }))
                state->output->handler(kept);
        });
        return;
    }
    std::optional<CameraSample> newest(std::move(sample));
    const bool isFirst = _state->_waiting.withLock([&](State::Waiting& waiting) {
        std::swap(waiting.sample, newest); // what was late leaves with `newest`
        return !std::exchange(waiting.isScheduled, true);
    });
    if (isFirst) _state->output->queue->async([state = _state] { deliver(*state); });
}

void FrameDelivery::deliver(State& state) {
    std::optional<CameraSample> sample;
    state._waiting.withLock([&](State::Waiting& waiting) {
        waiting.isScheduled = false;
        std::swap(waiting.sample, sample);
    });
    if (sample) state.output->handler(*sample);
}

} // namespace lanternfly
