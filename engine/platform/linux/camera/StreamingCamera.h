// What the cameras of this system have in common: a description, a configuration, and a stream
// that their own kind opens.
// Threads: safe; a stream is bound to its session.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/LockedCell.h"
#include "platform/CameraDevice.h"
#include "platform/CameraPlatform.h"

namespace lanternfly {

struct CameraDescription {
    std::string uniqueID;
    std::string localizedName;
    std::string manufacturer;
    std::string modelID;
    std::string className;
    CameraDeviceType type = CameraDeviceType::external;
    uint32_t transportType = CameraTransportType::unknown;
    std::vector<CameraFormat> formats;
};

struct CameraConfiguration {
    size_t format = 0;       // an index into the formats
    MediaTime frameDuration; // invalid: as the camera likes
};

// An open camera; it is let go when the stream goes.
class CameraStream {
public:
    using FrameSink = std::function<void(CameraSample)>;

    virtual ~CameraStream() = default;
    // False when the camera does not take this configuration, or is gone. Not while it runs.
    virtual bool prepare(const CameraConfiguration& configuration) = 0;
    // Frames go to `sink` on a thread of the stream's own. A camera that stops sending is
    // restarted, and one that is unplugged resumes when it is back.
    virtual void start(FrameSink sink) = 0;
    // No frame comes after it.
    virtual void stop() = 0;
    // Of the input, on any thread.
    virtual std::string problem() const { return {}; }
};

class StreamingCamera : public CameraDevice, public std::enable_shared_from_this<StreamingCamera> {
public:
    explicit StreamingCamera(CameraDescription description)
        : _description(std::move(description)) {}

    const std::string& uniqueID() const final { return _description.uniqueID; }
    const std::string& localizedName() const final { return _description.localizedName; }
    const std::string& manufacturer() const final { return _description.manufacturer; }
    const std::string& modelID() const final { return _description.modelID; }
    const std::string& className() const final { return _description.className; }
    CameraDeviceType type() const final { return _description.type; }
    uint32_t transportType() const final { return _description.transportType; }
    const std::vector<CameraFormat>& formats() const final { return _description.formats; }
    bool supportsPreset(CameraPreset preset) const final { return formatFor(preset).has_value(); }
    std::unique_ptr<CameraConfigurationLock> lockForConfiguration() final;

    CameraConfiguration configuration() const { return _configuration.get(); }
    // The first format of the preset's size; for "high" the first of the largest size.
    std::optional<size_t> formatFor(CameraPreset preset) const;
    // Throws CameraError.
    virtual std::unique_ptr<CameraStream> open() = 0;

private:
    class Lock;

    const CameraDescription _description;
    LockedCell<CameraConfiguration> _configuration;
};

using StreamingCameraRef = std::shared_ptr<StreamingCamera>;

// Where cameras come from.
// Threads: safe.
class CameraBackend {
public:
    using ChangeSink = std::function<void(CameraChange)>;

    virtual ~CameraBackend() = default;
    virtual std::vector<StreamingCameraRef> cameras() = 0;
    // There are cameras that this user may not open.
    virtual bool hasDenied() { return false; }
    // Called once, before anything else; the sink returns at once.
    virtual void announceTo(ChangeSink) {}
};

} // namespace lanternfly
