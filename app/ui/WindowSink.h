// The newest frame for a window: it takes what it has time for, and the rest passes by.
// Threads: safe.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "base/LockedCell.h"
#include "platform/FrameSinkReport.h"

namespace lanternfly {

// What sink and window share.
class NewestFrame {
public:
    // `wake` is called from any thread when a frame has come, and not again until it was taken.
    explicit NewestFrame(std::function<void()> wake) : _wake(std::move(wake)) {}

    void put(PixelBufferRef frame);
    // Null when there is none since the last time.
    PixelBufferRef take();
    void setVisible(bool isVisible);
    // Takes no more, and nobody is woken any more.
    void close();
    FrameSinkReport& report() { return _report; }

private:
    struct Now {
        PixelBufferRef frame;
        bool isVisible = false;
        bool isClosed = false;
    };
    const std::function<void()> _wake;
    FrameSinkReport _report{"window", "WindowSink"};
    LockedCell<Now> _now;
};

class WindowSink final : public FrameSink {
public:
    explicit WindowSink(std::shared_ptr<NewestFrame> newest) : _newest(std::move(newest)) {}

    const std::string& name() const override { return _newest->report().name(); }
    void send(const PixelBufferRef& frame, MediaTime) override {
        if (frame) _newest->put(frame);
    }
    bool isWatched() const override {
        return _newest->report().state() == FrameSinkStatus::State::watched;
    }
    FrameSinkStatus status() const override { return _newest->report().status(); }
    void setStateCallback(std::function<void()> callback) override {
        _newest->report().setCallback(std::move(callback));
    }
    void finish() override { _newest->close(); }

private:
    const std::shared_ptr<NewestFrame> _newest;
};

} // namespace lanternfly
