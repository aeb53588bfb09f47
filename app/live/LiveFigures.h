// How a live picture is doing: frames and how many were lost, how long each takes through the
// program, how soon the slide follows a hand.
// Threads: safe.
#pragma once

#include <array>
#include <cstdint>
#include <mutex>
#include <optional>

#include "app/StageTimes.h"
#include "app/live/FrameRhythm.h"
#include "base/Clock.h"

namespace lanternfly {

class LiveFigures {
public:
    struct Readout {
        uint64_t frames = 0;     // of the camera, through the whole program
        uint64_t lostFrames = 0; // that the camera sent, and nobody had time for
        uint64_t standIns = 0;   // instead of a camera
        double framesPerSecond = 0;
        // Over the last minute or so, at 30 a second.
        StageSummary frame;  // from the arrival of a frame to its handing over to the outputs
        StageSummary target; // from the arrival of a frame to the slide's new target
        std::optional<double> firstFrameMs; // from `startNanos` to the first frame
    };

    // The clock outlives the figures.
    LiveFigures(const Clock& clock, uint64_t startNanos) : _clock(clock), _startNanos(startNanos) {}

    // A frame that arrived at this uptime has been handed over.
    void frameDone(uint64_t arrivedAtNanos);
    void standInDone();
    void targetSet(double latencyMs);
    Readout readout() const;

private:
    static constexpr size_t remembered = 2048;
    class Ring {
    public:
        void add(float value) { _values[_count++ % remembered] = value; }
        StageSummary summary() const;

    private:
        std::array<float, remembered> _values{};
        size_t _count = 0;
    };

    const Clock& _clock;
    const uint64_t _startNanos;
    mutable std::mutex _mutex;
    Readout _counts; // what is counted of it
    FrameRhythm _rhythm;
    Ring _frameMs, _targetMs;
    std::array<uint64_t, 64> _doneAt{}; // the last ones
    uint64_t _done = 0;
    void countDone(uint64_t nowNanos) { _doneAt[_done++ % _doneAt.size()] = nowNanos; }
};

} // namespace lanternfly
