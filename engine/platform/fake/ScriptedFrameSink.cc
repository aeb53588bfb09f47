#include "platform/fake/ScriptedFrameSink.h"

#include <chrono>

namespace lanternfly {

using State = FrameSinkStatus::State;

ScriptedFrameSink::ScriptedFrameSink(std::string name)
    : _report(std::move(name), "ScriptedFrameSink"),
      _worker("scripted-sink", 1,
              [this](const PixelBufferRef& frame, MediaTime pts) { take(frame, pts); }) {}

ScriptedFrameSink::~ScriptedFrameSink() {
    release();
}

void ScriptedFrameSink::setWatched(bool isWatched) {
    _report.set(isWatched ? State::watched : State::idle);
}

void ScriptedFrameSink::hold() {
    const std::lock_guard guard(_mutex);
    _isHolding = true;
}

void ScriptedFrameSink::release() {
    const std::lock_guard guard(_mutex);
    _isHolding = false;
    _changed.notify_all();
}

void ScriptedFrameSink::fail(const std::string& problem) {
    _report.set(State::failed, problem);
}

bool ScriptedFrameSink::waitForFrames(size_t count) {
    std::unique_lock lock(_mutex);
    return _changed.wait_for(lock, std::chrono::seconds(60), [&] { return _count >= count; });
}

size_t ScriptedFrameSink::frameCount() const {
    const std::lock_guard guard(_mutex);
    return _count;
}

ScriptedFrameSink::Frame ScriptedFrameSink::lastFrame() const {
    const std::lock_guard guard(_mutex);
    return _last;
}

void ScriptedFrameSink::send(const PixelBufferRef& frame, MediaTime pts) {
    if (!frame || !isWatched()) return;
    if (!_worker.put(frame, pts)) _report.countDropped();
}

bool ScriptedFrameSink::isWatched() const {
    return _report.state() == State::watched;
}

void ScriptedFrameSink::finish() {
    _worker.finish();
    _report.set(State::finished);
}

void ScriptedFrameSink::take(const PixelBufferRef& frame, MediaTime pts) {
    std::unique_lock lock(_mutex);
    _changed.wait(lock, [&] { return !_isHolding; });
    _last = {frame, pts};
    ++_count;
    _report.countSent();
    _changed.notify_all();
}

} // namespace lanternfly
