// A sink whose watchers are played by a test.
// Threads: safe.
#pragma once

#include <condition_variable>
#include <mutex>
#include <vector>

#include "platform/FrameSinkReport.h"
#include "platform/FrameWorker.h"

namespace lanternfly {

class ScriptedFrameSink final : public FrameSink {
public:
    struct Frame {
        PixelBufferRef picture;
        MediaTime pts;
    };

    explicit ScriptedFrameSink(std::string name = "scripted");
    ~ScriptedFrameSink() override;

    // Somebody begins to take frames, and ends.
    void setWatched(bool isWatched);
    // Whoever takes frames holds still until release().
    void hold();
    void release();
    // Ends for good, with this sentence.
    void fail(const std::string& problem);
    // Waits until so many frames were taken; false after a long time.
    bool waitForFrames(size_t count);
    size_t frameCount() const;
    // The newest; null before the first.
    Frame lastFrame() const;

    const std::string& name() const override { return _report.name(); }
    void send(const PixelBufferRef& frame, MediaTime pts) override;
    bool isWatched() const override;
    FrameSinkStatus status() const override { return _report.status(); }
    void setStateCallback(std::function<void()> callback) override {
        _report.setCallback(std::move(callback));
    }
    void finish() override;

private:
    void take(const PixelBufferRef& frame, MediaTime pts);

    FrameSinkReport _report;
    mutable std::mutex _mutex;
    std::condition_variable _changed;
    Frame _last;
    size_t _count = 0;
    bool _isHolding = false;
    FrameWorker _worker; // last: its thread uses the others
};

} // namespace lanternfly
