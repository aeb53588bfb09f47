// Port: a capture session connects one camera with whoever takes its frames.
// Threads: bound to the queue of its owner; frames come on the output's queue.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "base/MediaTime.h"
#include "base/PixelBuffer.h"
#include "base/SerialQueue.h"
#include "platform/CameraDevice.h"

namespace lanternfly {

struct CameraSample {
    PixelBufferRef buffer; // null when a sample carries no picture
    MediaTime pts;         // monotonic uptime; rises from sample to sample
};

// Where frames go.
struct CameraOutput {
    // A frame that is still waiting when the next one comes is discarded.
    bool discardsLateFrames = true;
    PixelFormat pixelFormat = PixelFormat::bgra8;
    // Kept alive by the output: a frame may come while the owner goes.
    std::shared_ptr<SerialQueue> queue;
    // Called on `queue`.
    std::function<void(const CameraSample&)> handler;
};

// A camera that was opened for capture; it is let go when the last reference goes.
class CameraInput {
public:
    virtual ~CameraInput() = default;
    virtual const CameraDeviceRef& device() const = 0;
    // Why no frames come now, as a sentence for the user; empty while they come, and while nobody
    // knows. On any thread.
    virtual std::string problem() const { return {}; }
};

using CameraInputRef = std::shared_ptr<CameraInput>;
using CameraOutputRef = std::shared_ptr<CameraOutput>;

class CameraSession {
public:
    // A session that goes while it runs stops first.
    virtual ~CameraSession() = default;

    // Changes between these two take effect together, also while the session runs.
    virtual void beginConfiguration() = 0;
    virtual void commitConfiguration() = 0;

    // A configuration that sets no preset takes the camera's active format.
    virtual bool canSetPreset(CameraPreset preset) const = 0;
    virtual void setPreset(CameraPreset preset) = 0;
    virtual CameraPreset preset() const = 0;

    // One input and one output; a camera may refuse the format that it would have to deliver.
    virtual bool canAddInput(const CameraInputRef& input) const = 0;
    virtual void addInput(const CameraInputRef& input) = 0;
    virtual void removeInput(const CameraInputRef& input) = 0;
    virtual bool canAddOutput(const CameraOutputRef& output) const = 0;
    virtual void addOutput(const CameraOutputRef& output) = 0;
    // Samples that wait are dropped; a handler that runs completes.
    virtual void removeOutput(const CameraOutputRef& output) = 0;

    virtual void startRunning() = 0;
    virtual void stopRunning() = 0;
};

} // namespace lanternfly
