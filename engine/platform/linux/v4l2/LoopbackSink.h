// A loopback device (v4l2loopback) as a sink: programs that know no PipeWire see a camera. Such
// devices do not tell whether somebody reads them, so frames are written as long as there is one.
// Threads: safe; the work is done on a thread of its own.
#pragma once

#include <filesystem>
#include <memory>

#include "platform/FrameSinkReport.h"
#include "platform/FrameWorker.h"
#include "platform/linux/v4l2/V4l2Output.h"

namespace lanternfly::v4l2 {

struct LoopbackOptions {
    // Empty: the one that bears the label, else the first.
    std::filesystem::path node;
    std::string label;
    int width = 1920, height = 1080;
    int framesPerSecond = 30;
    // A device that failed is opened again after this time.
    uint64_t beforeRetryNanos = 1'000'000'000;
};

class LoopbackSink final : public FrameSink {
public:
    // Throws CameraError when there is no such device, or this user may not write to it.
    explicit LoopbackSink(LoopbackOptions options);

    const std::string& name() const override { return _report.name(); }
    void send(const PixelBufferRef& frame, MediaTime pts) override;
    bool isWatched() const override;
    FrameSinkStatus status() const override { return _report.status(); }
    void setStateCallback(std::function<void()> callback) override {
        _report.setCallback(std::move(callback));
    }
    void finish() override;

private:
    std::unique_ptr<V4l2Output> open() const;
    void write(const PixelBuffer& frame);

    const LoopbackOptions _options;
    std::unique_ptr<V4l2Output> _output; // null while the device is gone
    uint64_t _failedAtNanos = 0;
    FrameSinkReport _report;
    FrameWorker _worker; // last: its thread uses the others
};

} // namespace lanternfly::v4l2
