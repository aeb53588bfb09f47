#include "app/OfflineRender.h"

#include <chrono>
#include <stdexcept>
#include <thread>

#include <fmt/format.h>

namespace lanternfly {
namespace {

constexpr uint64_t clockStartNanos = 1'000'000'000'000;

uint64_t nanosOf(MediaTime pts) {
    return static_cast<uint64_t>(std::llround(pts.seconds() * 1e9));
}

} // namespace

OfflineRender::Result OfflineRender::run() {
    {
        std::jthread decoding([this] { guarded(&OfflineRender::decode); });
        std::jthread looking([this] { guarded(&OfflineRender::look); });
        std::jthread drawing([this] { guarded(&OfflineRender::draw); });
        guarded(&OfflineRender::encode);
    }
    if (const auto failure = _failure.get()) std::rethrow_exception(failure);
    _setup.writer.finish(_result.isInterrupted ? VideoWriter::Sound::untilLastPicture
                                               : VideoWriter::Sound::whole);
    return _result;
}

void OfflineRender::guarded(void (OfflineRender::*stage)()) {
    try {
        (this->*stage)();
    } catch (...) {
        _failure.withLock([](std::exception_ptr& first) {
            if (!first) first = std::current_exception();
        });
        _decoded.abandon();
        _looked.abandon();
        _drawn.abandon();
    }
}

void OfflineRender::decode() {
    const auto next = [this] {
        return _setup.times.measure(RenderStage::decode, [this]() -> std::optional<VideoFrame> {
            auto frame = _setup.reader.next();
            if (!frame) return std::nullopt;
            frame->picture =
                _setup.framing.apply(std::move(frame->picture), _setup.reader.info().displayAspect);
            if (!frame->picture) throw std::runtime_error("out of memory for the camera pictures");
            return frame;
        });
    };
    int64_t index = 0;
    while (!(_result.isInterrupted = _setup.isInterrupted())) {
        auto frame = next();
        if (!frame || !_decoded.push({std::move(frame->picture), frame->pts, index++})) break;
    }
    _decoded.close();
}

void OfflineRender::look() {
    while (auto frame = _decoded.pop()) {
        if (_setup.clock) {
            _setup.clock->set(clockStartNanos + nanosOf(frame->pts));
        } else if (!waitUntilDue(frame->pts)) {
            ++_result.framesLate;
            continue;
        }
        _setup.pipeline.enterFrame(*frame);
        _setup.beforeFrame(frame->pts.seconds());
        auto scene = _setup.times.measure(RenderStage::hands,
                                          [&] { return _setup.pipeline.look(std::move(*frame)); });
        if (!_looked.push(std::move(scene))) break;
    }
    _setup.pipeline.finish();
    _looked.close();
}

void OfflineRender::draw() {
    while (const auto scene = _looked.pop()) {
        auto picture = _setup.times.measure(RenderStage::compose,
                                            [&] { return _setup.pipeline.draw(*scene); });
        if (!picture)
            throw std::runtime_error(fmt::format("frame {} could not be composed; free some memory "
                                                 "or choose a smaller --size",
                                                 scene->frame.index));
        if (!_drawn.push({std::move(picture), scene->frame.pts})) break;
    }
    _drawn.close();
}

void OfflineRender::encode() {
    while (const auto frame = _drawn.pop()) {
        _setup.times.measure(RenderStage::encode,
                             [&] { _setup.writer.write(*frame->picture, frame->pts); });
        _result.lastSeconds = frame->pts.seconds();
        _setup.onProgress(++_result.frames);
    }
}

// False when the frame's time has passed by more than a frame.
bool OfflineRender::waitUntilDue(MediaTime pts) {
    using namespace std::chrono;
    const uint64_t now = SystemClock::shared().uptimeNanos();
    if (!_paceStartNanos) _paceStartNanos = now - nanosOf(pts);
    const uint64_t due = *_paceStartNanos + nanosOf(pts);
    const auto frameNanos =
        static_cast<uint64_t>(1e9 / _setup.reader.info().frameRate.framesPerSecond());
    if (now > due + frameNanos) return false;
    constexpr uint64_t patienceNanos = 100'000'000; // an interrupt is noticed within this time
    for (uint64_t at = now; at < due && !_setup.isInterrupted();
         at = SystemClock::shared().uptimeNanos())
        std::this_thread::sleep_for(nanoseconds(std::min(due - at, patienceNanos)));
    return true;
}

} // namespace lanternfly
