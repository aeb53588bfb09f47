// Port: one camera, as the system describes it.
// Threads: safe, except that one thread at a time configures a device.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/MediaTime.h"

namespace lanternfly {

enum class CameraDeviceType {
    builtInWideAngleCamera,
    external,
    continuityCamera, // a phone that lends its camera
    other,
};

constexpr const char* nameOf(CameraDeviceType type) {
    switch (type) {
    case CameraDeviceType::builtInWideAngleCamera:
        return "builtInWideAngleCamera";
    case CameraDeviceType::external:
        return "external";
    case CameraDeviceType::continuityCamera:
        return "continuityCamera";
    case CameraDeviceType::other:
        return "other";
    }
    return "other";
}

// How a camera is attached, as a four-character code. Systems have more of them than these.
namespace CameraTransportType {
inline constexpr uint32_t virtualDevice = 0x76697274; // "virt"
inline constexpr uint32_t usb = 0x75736220;           // "usb "
inline constexpr uint32_t continuity = 0x6172706c;    // "arpl"
inline constexpr uint32_t builtIn = 0x626c746e;       // "bltn"
inline constexpr uint32_t unknown = 0;
} // namespace CameraTransportType

struct CameraRateRange {
    double minimum = 0, maximum = 0; // frames per second
    friend bool operator==(const CameraRateRange&, const CameraRateRange&) = default;
};

struct CameraFormat {
    int width = 0, height = 0; // px
    std::vector<CameraRateRange> rateRanges;
    // The system can draw effects over the picture when it sees certain hand signs.
    bool supportsReactions = false;
    std::string encoding; // as the device names it ("MJPG"); for people

    friend bool operator==(const CameraFormat&, const CameraFormat&) = default;
};

enum class CameraPreset { high, hd1280x720, hd1920x1080, inputPriority };

constexpr const char* nameOf(CameraPreset preset) {
    switch (preset) {
    case CameraPreset::high:
        return "high";
    case CameraPreset::hd1280x720:
        return "1280x720";
    case CameraPreset::hd1920x1080:
        return "1920x1080";
    case CameraPreset::inputPriority: // the device's own active format
        return "inputPriority";
    }
    return "high";
}

// what() is one sentence for the user that names the camera and what to do next.
class CameraError : public std::runtime_error {
public:
    enum class Kind { denied, busy, disconnected, failed };
    CameraError(Kind reason, const std::string& text) : std::runtime_error(text), kind(reason) {}
    const Kind kind;
};

// The right to configure a device; given back when it goes.
class CameraConfigurationLock {
public:
    virtual ~CameraConfigurationLock() = default;
    // An index into the device's formats.
    virtual void setActiveFormat(size_t index) = 0;
    // The shortest and the longest time between two frames.
    virtual void setFrameDurations(MediaTime minimum, MediaTime maximum) = 0;
};

class CameraDevice {
public:
    virtual ~CameraDevice() = default;

    // The same whenever this camera is attached, and of no other camera.
    virtual const std::string& uniqueID() const = 0;
    virtual const std::string& localizedName() const = 0;
    virtual const std::string& manufacturer() const = 0; // empty when it does not say
    virtual const std::string& modelID() const = 0;
    // Of the driver that serves it.
    virtual const std::string& className() const = 0;
    virtual CameraDeviceType type() const = 0;
    virtual uint32_t transportType() const = 0;
    // In the device's order; may be empty.
    virtual const std::vector<CameraFormat>& formats() const = 0;
    virtual bool supportsPreset(CameraPreset preset) const = 0;
    // Throws CameraError.
    virtual std::unique_ptr<CameraConfigurationLock> lockForConfiguration() = 0;
};

using CameraDeviceRef = std::shared_ptr<CameraDevice>;

} // namespace lanternfly
