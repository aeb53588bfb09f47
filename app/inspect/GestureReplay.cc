#include "app/inspect/GestureReplay.h"

#include <cmath>

#include "app/OverlayRouting.h"
#include "app/SlidePlacement.h"
#include "base/Match.h"

namespace lanternfly {
namespace {

constexpr uint64_t clockStartNanos = 1'000'000'000'000;
constexpr float slideAspect = 16.0f / 9;

// The objects of a presentation that the hands reach.
class Replay {
public:
    Replay(const PoseTrackHeader& header, const TrackingConfig& tuning)
        : _driver(std::make_shared<AppearanceDriver>(
              _clock,
              SlidePlacement::upperRight(slideAspect, static_cast<float>(header.widthPX) /
                                                          static_cast<float>(header.heightPX)),
              SlidePlacement::seconds)),
          _ink({static_cast<double>(header.widthPX), static_cast<double>(header.heightPX)}, "", "",
               1) {
        _pinches.setTrackingConfig(tuning);
        _controller.setTrackingConfig(tuning);
        OverlayRouting::Receivers receivers;
        receivers.onSign = [this](HandSign) { tell(GestureEvent::peaceSign); };
        receivers.onPinch = [this](const PinchEvent& event) { onPinch(event); };
        receivers.onTwoHandPinch = [this](const TwoHandPinchEvent& event) {
            if (std::holds_alternative<TwoHandPinchBegan>(event)) tell(GestureEvent::twoHandBegan);
            if (std::holds_alternative<TwoHandPinchEnded>(event)) tell(GestureEvent::twoHandEnded);
        };
        _routing.setReceivers(std::move(receivers));
        _timeline.header = header;
        _timeline.pinch = _pinches.parameters();
        _timeline.twoHands = _twoHands.parameters();
    }

    void play(PoseTrackFrame frame) {
        const auto pts = MediaTime::fromNanos(std::llround(frame.seconds * 1e9));
        _clock.set(clockStartNanos + static_cast<uint64_t>(pts.value));
        _seconds = frame.seconds;
        _routing.enterFrame(static_cast<int64_t>(_timeline.frames.size()), pts);
        for (HandPose& pose : frame.poses)
            pose.arrivedAtUptimeNanos = _clock.uptimeNanos();
        if (frame.isLookedAt) _routing.onPoses(frame.poses);
        keep(frame);
    }
    GestureTimeline take() { return std::move(_timeline); }

private:
    void tell(GestureEvent event) { _timeline.events.push_back({event, _seconds}); }

    void onPinch(const PinchEvent& event) {
        match(
            event,
            [&](const PinchBegan& began) {
                tell(GestureEvent::pinchBegan);
                _grip = began.at - _driver->currentTransform().position;
            },
            [&](const PinchChanged& changed) { _handTarget = changed.at - _grip; },
            [&](const PinchEnded&) {
                tell(GestureEvent::pinchEnded);
                _handTarget.reset();
            });
    }

    void keep(const PoseTrackFrame& frame) {
        // Without a hand on it the slide goes where the motion takes it.
        const bool isHeld = _controller.isSessionActive() && _handTarget;
        const auto slide = _driver->snapshot().transform;
        TimelineFrame kept{.seconds = frame.seconds,
                           .isLookedAt = frame.isLookedAt,
                           .phase = _pinches.phase(),
                           .smoothedRatio = _pinches.ratio(),
                           .isTwoHandPinch = _twoHands.isSessionActive(),
                           .target = isHeld ? *_handTarget : _driver->currentTarget().position,
                           .position = slide.position,
                           .scale = slide.scale,
                           .detectionMs = frame.detectionMs,
                           .latencyMs = frame.latencyMs};
        for (const HandPose& pose : frame.poses)
            kept.hands.push_back(readingOf(pose));
        _timeline.frames.push_back(std::move(kept));
    }

    ManualClock _clock;
    std::shared_ptr<AppearanceDriver> _driver;
    PinchTransformController _controller{_clock, _driver};
    TwoHandScaleController _scaleController{_driver};
    PinchRecognizer _pinches{_clock};
    TwoHandPinchRecognizer _twoHands{_clock};
    HandGestureRecognizer _signs{_clock};
    DrawController _ink;
    OverlayRouting _routing{{.clock = _clock,
                             .pinches = _pinches,
                             .twoHandPinches = _twoHands,
                             .signs = _signs,
                             .slide = _controller,
                             .slideScale = _scaleController,
                             .ink = _ink,
                             .viewport = {}}};
    GestureTimeline _timeline;
    double _seconds = 0;
    float2 _grip{0, 0}; // from the slide to the hand when the pinch began
    std::optional<float2> _handTarget;
};

} // namespace

GestureTimeline replayGestures(const PoseTrack& track, const TrackingConfig& tuning) {
    Replay replay(track.header, tuning);
    for (const PoseTrackFrame& frame : track.frames)
        replay.play(frame);
    return replay.take();
}

} // namespace lanternfly
