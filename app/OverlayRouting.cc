#include "app/OverlayRouting.h"

#include <algorithm>

namespace lanternfly {

OverlayRouting::OverlayRouting(PinchRecognizer& recognizer, PinchTransformController& controller,
                               EventLog* events)
    : _recognizer(recognizer), _controller(controller), _events(events) {
    _recognizer.setEventCallback([this](const PinchEvent& event) { onPinch(event); });
}

void OverlayRouting::enterFrame(int64_t index, MediaTime pts) {
    _frames.withLock([&](RecentFrames& frames) {
        frames.ring[frames.count++ % frames.ring.size()] = {index, pts};
    });
}

void OverlayRouting::onPoses(std::span<const HandPose> poses) {
    _tally.withLock([&](Tally& tally) {
        ++tally.framesDetected;
        tally.framesWithHands += poses.empty() ? 0 : 1;
        tally.handsSeen += static_cast<int64_t>(poses.size());
    });
    if (_events && !poses.empty()) {
        const auto frame = frameAt(poses.front().pts);
        _events->hands(frame.index, frame.pts.seconds(), poses);
    }
    _recognizer.process(poses);
}

void OverlayRouting::onPinch(const PinchEvent& event) {
    _controller.handle(event);
    const auto frame =
        frameAt(std::visit([](const auto& payload) { return payload.sourcePts; }, event));
    if (_events) _events->pinch(frame.index, frame.pts.seconds(), event);
    if (std::holds_alternative<PinchChanged>(event)) return;
    _tally.withLock([&](Tally& tally) {
        tally.pinches.push_back({std::holds_alternative<PinchBegan>(event), frame.pts.seconds()});
    });
}

OverlayRouting::FrameStamp OverlayRouting::frameAt(MediaTime pts) const {
    return _frames.withLock([&](const RecentFrames& frames) {
        const size_t size = frames.ring.size();
        for (size_t back = 1; back <= std::min(frames.count, size); ++back) {
            const FrameStamp& frame = frames.ring[(frames.count - back) % size];
            if (frame.pts == pts) return frame;
        }
        return frames.count > 0 ? frames.ring[(frames.count - 1) % size] : FrameStamp{};
    });
}

} // namespace lanternfly
