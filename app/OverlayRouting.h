// Takes what the hands do to where it belongs: poses to the recognizer, its events to the slide,
// both to the record of the session.
// Threads: onPoses() is bound to the hand feed's queue; enterFrame() and tally() are safe.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "app/EventLog.h"
#include "base/LockedCell.h"
#include "gestures/PinchRecognizer.h"
#include "motion/PinchTransformController.h"

namespace lanternfly {

class OverlayRouting {
public:
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

    // The event log may be null.
    OverlayRouting(PinchRecognizer& recognizer, PinchTransformController& controller,
                   EventLog* events);

    // A camera frame is on its way to the hand feed.
    void enterFrame(int64_t index, MediaTime pts);
    void onPoses(std::span<const HandPose> poses);
    Tally tally() const { return _tally.get(); }

private:
    struct FrameStamp {
        int64_t index = 0;
        MediaTime pts;
    };
    // More than a detection can be behind the camera.
    struct RecentFrames {
        std::array<FrameStamp, 32> ring{};
        size_t count = 0;
    };
    void onPinch(const PinchEvent& event);
    // The frame of that time; the newest one for a time that is invalid or long gone.
    FrameStamp frameAt(MediaTime pts) const;

    PinchRecognizer& _recognizer;
    PinchTransformController& _controller;
    EventLog* _events;
    LockedCell<RecentFrames> _frames;
    LockedCell<Tally> _tally;
};

} // namespace lanternfly
