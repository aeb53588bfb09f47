// Port: where finished frames go: a virtual camera, a recording, a window.
// Threads: safe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "base/MediaTime.h"
#include "base/PixelBuffer.h"

namespace lanternfly {

struct FrameSinkStatus {
    enum class State {
        idle,     // ready, and nobody takes frames
        watched,  // somebody takes frames
        waiting,  // cannot be used at the moment; it comes back by itself
        failed,   // ended before its time
        finished, // ended by finish()
    };

    State state = State::idle;
    // One sentence for the user that says what is wrong and what to do next; empty when all is
    // well. It was logged when it came up.
    std::string problem;
    uint64_t sentFrames = 0;
    // Came while somebody watched, and found the sink busy. Frames that nobody wants do not count.
    uint64_t droppedFrames = 0;
};

class FrameSink {
public:
    // At most this many frames are held at a time, so that the pool they come from goes on.
    static constexpr size_t maxHeldFrames = 8;

    // What waits is dropped, unless finish() was called before.
    virtual ~FrameSink() = default;

    // As the user knows it ("virtual camera", "talk.mkv").
    virtual const std::string& name() const = 0;
    // Takes a reference and returns; the pixels are not written to from now on. BGRA frames of any
    // size fit; a null frame is ignored. Times rise from frame to frame.
    virtual void send(const PixelBufferRef& frame, MediaTime pts) = 0;
    // False when a frame that is sent now would be seen by nobody.
    virtual bool isWatched() const = 0;
    virtual FrameSinkStatus status() const = 0;
    // Called after each change of state, on any thread, until the sink goes. Installed once, before
    // the first frame.
    virtual void setStateCallback(std::function<void()> callback) = 0;
    // Brings frames that wait to where they go and completes what is written; waits for that.
    // Frames that are sent afterwards are ignored.
    virtual void finish() = 0;
};

constexpr const char* nameOf(FrameSinkStatus::State state) {
    switch (state) {
    case FrameSinkStatus::State::idle:
        return "idle";
    case FrameSinkStatus::State::watched:
        return "watched";
    case FrameSinkStatus::State::waiting:
        return "waiting";
    case FrameSinkStatus::State::failed:
        return "failed";
    case FrameSinkStatus::State::finished:
        return "finished";
    }
    return "failed";
}

} // namespace lanternfly
