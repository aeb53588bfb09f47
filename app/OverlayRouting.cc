#include "app/OverlayRouting.h"

#include <algorithm>

#include "app/HandSpace.h"
#include "base/Match.h"

namespace lanternfly {
namespace {

const HandPose* handOf(std::span<const HandPose> poses, HandPose::Chirality chirality) {
    const auto found = std::find_if(poses.begin(), poses.end(), [&](const HandPose& pose) {
        return pose.chirality == chirality;
    });
    return found == poses.end() ? nullptr : &*found;
}

std::optional<VisibleHand> visibleOf(const HandPose* hand, bool isPinching) {
    const auto* thumb = hand ? hand->landmarks.find(HandLandmark::thumbTip) : nullptr;
    const auto* index = hand ? hand->landmarks.find(HandLandmark::indexTip) : nullptr;
    if (!thumb || !index) return std::nullopt;
    return VisibleHand{{(thumb->x + index->x) / 2, (thumb->y + index->y) / 2}, isPinching};
}

} // namespace

OverlayRouting::OverlayRouting(Setup setup) : _setup(std::move(setup)) {
    _setup.pinches.setEventCallback([this](const PinchEvent& event) { onPinch(event); });
    _setup.twoHandPinches.setEventCallback(
        [this](const TwoHandPinchEvent& event) { onTwoHandPinch(event); });
    _setup.signs.setEventCallback([this](HandSign sign) { onSign(sign); });
}

void OverlayRouting::setMode(HostMode mode) {
    if (_mode == mode) return;
    letGoOneHand();
    letGoTwoHands();
    if (_mode == HostMode::drawing) _setup.ink.exitDrawMode();
    if (mode == HostMode::drawing) _setup.ink.enterDrawMode();
    _mode = mode;
}

void OverlayRouting::dropSlide() {
    _setup.slide.reset();
    _setup.slideScale.reset();
    if (_holder == PinchReceiver::slide) _holder = PinchReceiver::nobody;
    if (_twoHandHolder == PinchReceiver::slide) _twoHandHolder = PinchReceiver::nobody;
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
    if (_setup.events && !poses.empty()) _setup.events->hands(frameAt(poses.front().pts), poses);
    if (_setup.poses) recordPoses(poses);
    _setup.pinches.process(poses);
    _setup.twoHandPinches.process(poses);
    forgetVanishedHands(!poses.empty());
    // A pinching hand may look like a sign.
    _setup.signs.setSuppressed(_isPinching || _setup.twoHandPinches.isSessionActive());
    _setup.signs.process(poses);
    _visible.set(visibleOf(poses));
}

// The recognizer keeps hands that are out of hands as they were, for drop-outs; without this a
// pinch of both hands would outlast them for ever.
void OverlayRouting::forgetVanishedHands(bool areHandsSeen) {
    const uint64_t now = _setup.clock.uptimeNanos();
    if (areHandsSeen) {
        _handsSeenAtNanos = now;
        _areHandsForgotten = false;
    }
    const auto grace = static_cast<uint64_t>(_setup.twoHandPinches.dropoutGraceSeconds() * 1e9);
    if (_areHandsForgotten || now - _handsSeenAtNanos < grace) return;
    _areHandsForgotten = true;
    const bool wasActive = _setup.twoHandPinches.isSessionActive();
    _setup.twoHandPinches.reset();
    if (wasActive) onTwoHandPinch(TwoHandPinchEnded{});
}

// Frames since the last detection that nobody had time for are recorded as such.
void OverlayRouting::recordPoses(std::span<const HandPose> poses) {
    const auto frame = frameAt(poses.empty() ? MediaTime::invalid() : poses.front().pts);
    const auto frames = _frames.get();
    _recorded.poses.clear();
    _recorded.latencyMs = _recorded.detectionMs = 0;
    _recorded.isLookedAt = false;
    const size_t held = std::min(frames.count, frames.ring.size());
    for (size_t i = frames.count - held; i < frames.count; ++i) {
        const FrameStamp& missed = frames.ring[i % frames.ring.size()];
        if (missed.index <= _lastRecordedFrame || missed.index >= frame.index) continue;
        _recorded.seconds = missed.pts.seconds();
        _setup.poses->add(_recorded);
    }
    _lastRecordedFrame = frame.index;
    _recorded.isLookedAt = true;
    _recorded.seconds = frame.pts.seconds();
    _recorded.poses.assign(poses.begin(), poses.end());
    if (!poses.empty()) {
        const uint64_t now = _setup.clock.uptimeNanos();
        const uint64_t arrived = poses.front().arrivedAtUptimeNanos;
        _recorded.latencyMs = now > arrived ? static_cast<double>(now - arrived) / 1e6 : 0;
        _recorded.detectionMs = static_cast<double>(poses.front().detectionDurationNanos) / 1e6;
    }
    _setup.poses->add(_recorded);
}

void OverlayRouting::onPinch(const PinchEvent& event) {
    const auto frame = frameOf(event);
    if (_setup.events) _setup.events->pinch(frame, event);
    const bool isBegin = std::holds_alternative<PinchBegan>(event);
    const bool isEnd = std::holds_alternative<PinchEnded>(event);
    if (isBegin)
        _holder = takerOfOneHand(_mode, _isLocked, _twoHandHolder != PinchReceiver::nobody);
    if (_receivers.onPinch) _receivers.onPinch(event);
    deliver(event);
    if (!isBegin && !isEnd) return;
    if (isEnd) _holder = PinchReceiver::nobody;
    _isPinching = isBegin;
    _tally.withLock([&](Tally& tally) { tally.pinches.push_back({isBegin, frame.pts.seconds()}); });
    if (_receivers.onPinching) _receivers.onPinching(isBegin);
}

void OverlayRouting::onTwoHandPinch(const TwoHandPinchEvent& event) {
    if (_setup.events) _setup.events->twoHandPinch(frameOf(event), event);
    if (std::holds_alternative<TwoHandPinchBegan>(event)) {
        _twoHandHolder = takerOfTwoHands(_mode, _isLocked);
        takeOverFromOneHand();
    }
    deliver(event);
    if (_receivers.onTwoHandPinch) _receivers.onTwoHandPinch(event);
    if (std::holds_alternative<TwoHandPinchEnded>(event)) _twoHandHolder = PinchReceiver::nobody;
}

void OverlayRouting::onSign(HandSign sign) {
    record([&](EventLog& events, const FrameStamp& frame) { events.sign(frame, sign); });
    if (_receivers.onSign) _receivers.onSign(sign);
}

void OverlayRouting::deliver(const PinchEvent& event) {
    switch (_holder) {
    case PinchReceiver::nobody:
        return;
    case PinchReceiver::slide:
        return _setup.slide.handle(event);
    case PinchReceiver::ink:
        return draw(event);
    case PinchReceiver::model:
        if (_receivers.onModelPinch) _receivers.onModelPinch(event);
    }
}

void OverlayRouting::deliver(const TwoHandPinchEvent& event) {
    if (_twoHandHolder == PinchReceiver::slide) _setup.slideScale.handle(event);
    if (_twoHandHolder == PinchReceiver::model && _receivers.onModelTwoHandPinch)
        _receivers.onModelTwoHandPinch(event);
}

void OverlayRouting::draw(const PinchEvent& event) {
    const auto pointer = [this](float2 at) {
        return viewportPoint(at, _setup.viewport, _isMirrored);
    };
    const auto log = [&](bool isBegin) {
        if (_setup.events) _setup.events->stroke(frameOf(event), isBegin, _strokePoints);
    };
    match(
        event,
        [&](const PinchBegan& began) {
            _setup.ink.pointerBegan(pointer(began.at));
            _strokePoints = 1;
            log(true);
        },
        [&](const PinchChanged& changed) {
            _setup.ink.pointerMoved(pointer(changed.at));
            ++_strokePoints;
        },
        [&](const PinchEnded&) {
            _setup.ink.pointerEnded();
            log(false);
        });
}

// Both hands take the slide where it is: it does not glide on from the one that held it.
void OverlayRouting::takeOverFromOneHand() {
    if (_twoHandHolder == PinchReceiver::nobody) return;
    if (_holder == PinchReceiver::slide) {
        _setup.slide.reset();
        _holder = PinchReceiver::nobody;
    }
    letGoOneHand();
}

void OverlayRouting::letGoOneHand() {
    if (_holder != PinchReceiver::nobody) deliver(PinchEnded{});
    _holder = PinchReceiver::nobody;
}

void OverlayRouting::letGoTwoHands() {
    if (_twoHandHolder != PinchReceiver::nobody) deliver(TwoHandPinchEnded{});
    _twoHandHolder = PinchReceiver::nobody;
}

VisibleHands OverlayRouting::visibleOf(std::span<const HandPose> poses) const {
    using Chirality = HandPose::Chirality;
    if (routeOf(_mode).twoHands == PinchReceiver::nobody) return {};
    return {lanternfly::visibleOf(handOf(poses, Chirality::left),
                                  _setup.twoHandPinches.isPinching(Chirality::left)),
            lanternfly::visibleOf(handOf(poses, Chirality::right),
                                  _setup.twoHandPinches.isPinching(Chirality::right))};
}

template <typename Event>
FrameStamp OverlayRouting::frameOf(const Event& event) const {
    return frameAt(std::visit([](const auto& payload) { return payload.sourcePts; }, event));
}

FrameStamp OverlayRouting::frameAt(MediaTime pts) const {
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
