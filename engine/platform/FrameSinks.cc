#include "platform/FrameSinks.h"

#include <algorithm>
#include <array>

namespace lanternfly {
namespace {

using State = FrameSinkStatus::State;

std::string namesOf(const std::vector<std::unique_ptr<FrameSink>>& sinks) {
    std::string names;
    for (const auto& sink : sinks)
        names += (names.empty() ? "" : ", ") + sink->name();
    return names;
}

size_t rankOf(State state) {
    constexpr std::array best{State::watched, State::idle, State::waiting, State::failed,
                              State::finished};
    return static_cast<size_t>(std::ranges::find(best, state) - best.begin());
}

} // namespace

FrameSinks::FrameSinks(std::vector<std::unique_ptr<FrameSink>> sinks)
    : _sinks(std::move(sinks)), _name(namesOf(_sinks)) {}

void FrameSinks::send(const PixelBufferRef& frame, MediaTime pts) {
    for (const auto& sink : _sinks)
        sink->send(frame, pts);
}

bool FrameSinks::isWatched() const {
    return std::ranges::any_of(_sinks, [](const auto& sink) { return sink->isWatched(); });
}

FrameSinkStatus FrameSinks::status() const {
    FrameSinkStatus all;
    bool isFirst = true;
    for (const auto& sink : _sinks) {
        const FrameSinkStatus one = sink->status();
        if (isFirst || rankOf(one.state) < rankOf(all.state)) all.state = one.state;
        if (all.problem.empty()) all.problem = one.problem;
        all.sentFrames += one.sentFrames;
        all.droppedFrames += one.droppedFrames;
        isFirst = false;
    }
    return all;
}

void FrameSinks::setStateCallback(std::function<void()> callback) {
    for (const auto& sink : _sinks)
        sink->setStateCallback(callback);
}

void FrameSinks::finish() {
    for (const auto& sink : _sinks)
        sink->finish();
}

} // namespace lanternfly
