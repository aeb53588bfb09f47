// Takes what the hands do to where it belongs: poses to the recognizers, pinches to what the mode
// says they hold, signs to whoever knows their commands, all of it to the record of the session.
// Threads: bound to the hand feed's queue; enterFrame(), tally() and visibleHands() are safe.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "annotate/DrawController.h"
#include "app/EventLog.h"
#include "app/HandSign.h"
#include "app/PinchRoutes.h"
#include "app/TwoHandHints.h"
#include "base/LockedCell.h"
#include "gestures/HandGestureRecognizer.h"
#include "gestures/PinchRecognizer.h"
#include "gestures/TwoHandPinchRecognizer.h"
#include "motion/PinchTransformController.h"
#include "motion/TwoHandScaleController.h"
#include "tracks/PoseTrackWriter.h"

namespace lanternfly {

class OverlayRouting {
public:
    struct Setup {
        const Clock& clock;
        PinchRecognizer& pinches;
        TwoHandPinchRecognizer& twoHandPinches;
        HandGestureRecognizer& signs;
        PinchTransformController& slide;
        TwoHandScaleController& slideScale;
        DrawController& ink;
        DrawingViewport viewport; // of the ink
        EventLog* events = nullptr;
        PoseTrackWriter* poses = nullptr;
    };
    // Any may be empty.
    struct Receivers {
        std::function<void(HandSign)> onSign;
        std::function<void(bool isPinching)> onPinching;
        std::function<void(const PinchEvent&)> onModelPinch;
        std::function<void(const TwoHandPinchEvent&)> onModelTwoHandPinch;
        // Whoever takes them.
        std::function<void(const PinchEvent&)> onPinch{};
        std::function<void(const TwoHandPinchEvent&)> onTwoHandPinch{};
    };
    struct PinchMark {
        bool isBegin = false;
        double seconds = 0;
    };
    // Of the whole session.
    struct Tally {
        int64_t framesDetected = 0;
        int64_t framesWithHands = 0;
        int64_t handsSeen = 0;
        std::vector<PinchMark> pinches; // beginnings and ends, in order
    };

    explicit OverlayRouting(Setup setup);

    void setReceivers(Receivers receivers) { _receivers = std::move(receivers); }
    // Ends what the hands hold: a stroke is kept, the slide and the model are let go.
    void setMode(HostMode mode);
    // Locked, no pinch takes hold of the slide or the model; one that holds it goes on.
    void setLocked(bool isLocked) { _isLocked = isLocked; }
    void setMirrored(bool isMirrored) { _isMirrored = isMirrored; }
    // The slide is about to be moved by somebody else: the hand that holds it loses it.
    void dropSlide();
    // Something that belongs to the newest frame.
    template <typename Line>
    void record(Line&& line) {
        if (_setup.events) line(*_setup.events, frameAt(MediaTime::invalid()));
    }

    // A camera frame is on its way to the hand feed.
    void enterFrame(int64_t index, MediaTime pts);
    void onPoses(std::span<const HandPose> poses);
    Tally tally() const { return _tally.get(); }
    VisibleHands visibleHands() const { return _visible.get(); }

private:
    // More than a detection can be behind the camera.
    struct RecentFrames {
        std::array<FrameStamp, 32> ring{};
        size_t count = 0;
    };

    void recordPoses(std::span<const HandPose> poses);
    void onPinch(const PinchEvent& event);
    void onTwoHandPinch(const TwoHandPinchEvent& event);
    void onSign(HandSign sign);
    void deliver(const PinchEvent& event);
    void deliver(const TwoHandPinchEvent& event);
    void draw(const PinchEvent& event);
    void takeOverFromOneHand();
    void letGoOneHand();
    void letGoTwoHands();
    void forgetVanishedHands(bool areHandsSeen);
    VisibleHands visibleOf(std::span<const HandPose> poses) const;
    // The frame of that time; the newest one for a time that is invalid or long gone.
    FrameStamp frameAt(MediaTime pts) const;
    template <typename Event>
    FrameStamp frameOf(const Event& event) const;

    const Setup _setup;
    Receivers _receivers;
    HostMode _mode = HostMode::slide;
    bool _isLocked = false;
    bool _isMirrored = false;
    bool _isPinching = false; // the recognizer's pinch, whoever takes it
    PinchReceiver _holder = PinchReceiver::nobody;
    PinchReceiver _twoHandHolder = PinchReceiver::nobody;
    int _strokePoints = 0;
    uint64_t _handsSeenAtNanos = 0;
    bool _areHandsForgotten = true;
    PoseTrackFrame _recorded;        // keeps its memory
    int64_t _lastRecordedFrame = -1; // index
    LockedCell<RecentFrames> _frames;
    LockedCell<Tally> _tally;
    LockedCell<VisibleHands> _visible;
};

} // namespace lanternfly
